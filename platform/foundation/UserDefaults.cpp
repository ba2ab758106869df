#include "platform/foundation/UserDefaults.h"

#include "platform/foundation/AtomicFile.h"
#include "platform/foundation/FileLock.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/PropertyList.h"

#include <cstdlib>
#include <memory>
#include <optional>

namespace platform {

namespace fs = std::filesystem;

namespace {

std::mutex standardMutex;
std::unique_ptr<UserDefaults> standardInstance;
std::string standardDomain = "lumetta-mail";

} // namespace

UserDefaults::UserDefaults(std::string domain, fs::path folder)
    : domain_(std::move(domain)), folder_(std::move(folder)) {
    DomainRead read = readDomain(domain_);
    if (read.state == DomainState::Unreadable || read.state == DomainState::Damaged)
        Log::line("UserDefaults: " + pathForDomain(domain_).string() + ": " + read.problem);
    persistent_ = read.values;
}

fs::path UserDefaults::standardFolder() {
    const char* config = std::getenv("XDG_CONFIG_HOME");
    fs::path base;
    if (config && *config)
        base = config;
    else if (const char* home = std::getenv("HOME"))
        base = fs::path(home) / ".config";
    else
        base = ".config";
    return base / "lumetta-mail" / "Preferences";
}

UserDefaults& UserDefaults::standard() {
    std::lock_guard lock(standardMutex);
    if (!standardInstance)
        standardInstance = std::make_unique<UserDefaults>(standardDomain, standardFolder());
    return *standardInstance;
}

void UserDefaults::configureStandard(std::string domain) {
    std::lock_guard lock(standardMutex);
    standardDomain = std::move(domain);
    standardInstance.reset();
}

void UserDefaults::resetStandardForTesting() {
    std::lock_guard lock(standardMutex);
    standardInstance.reset();
}

fs::path UserDefaults::pathForDomain(std::string_view name) const {
    return folder_ / (std::string(name) + ".plist");
}

UserDefaults::DomainRead UserDefaults::readDomain(std::string_view name) const {
    const fs::path path = pathForDomain(name);
    std::error_code ec;
    if (!fs::exists(path, ec))
        return {ec ? DomainState::Unreadable : DomainState::Absent, Dictionary(), ec ? ec.message() : ""};
    auto bytes = AtomicFile::read(path);
    if (!bytes)
        return {DomainState::Unreadable, Dictionary(), bytes.error().message};
    auto parsed = PropertyList::parse(bytes.value());
    if (!parsed)
        return {DomainState::Damaged, Dictionary(), parsed.error().message};
    if (!parsed.value().isDictionary())
        return {DomainState::Damaged, Dictionary(), "not a dictionary"};
    return {DomainState::Read, *parsed.value().dictionary(), ""};
}

Result<void> UserDefaults::writeDomainLocked(const Dictionary& values, std::string_view name) {
    const fs::path path = pathForDomain(name);
    // Checked again under the lock: keep a damaged file for the user instead of
    // silently writing over what may be their only copy of their settings.
    if (readDomain(name).state == DomainState::Damaged) {
        fs::path aside = path;
        aside += ".corrupt";
        std::error_code ec;
        fs::rename(path, aside, ec);
        Log::line("UserDefaults: " + path.string() + " was not a readable property list; moved to " +
                  aside.string());
    }
    auto xml = LUMETTA_TRY(PropertyList::xml(values));
    return AtomicFile::write(path, xml);
}

Value UserDefaults::valueForKey(std::string_view key) const {
    std::lock_guard lock(mutex_);
    Value v = persistent_.get(key);
    return (v.isNull() ? registered_.get(key) : v).deepCopy();
}

void UserDefaults::setObject(Value value, std::string key) {
    Value copy = value.deepCopy();
    std::lock_guard lock(mutex_);
    changed_.insert(key);
    persistent_.set(std::move(key), std::move(copy));
}

void UserDefaults::removeObjectForKey(std::string_view key) {
    setObject(Value(), std::string(key));
}

void UserDefaults::registerDefaults(const Dictionary& defaults) {
    const Value copy = Value(defaults).deepCopy();
    std::lock_guard lock(mutex_);
    registered_.addEntries(*copy.dictionary());
}

Result<void> UserDefaults::synchronize() {
    std::lock_guard lock(mutex_);
    std::error_code ec;
    fs::create_directories(folder_, ec);
    if (ec)
        return makeError("cannot create " + folder_.string() + ": " + ec.message(), ec.value());
    // Read-merge-write of the domain, serialised with other processes.
    const auto fileLock = LUMETTA_TRY(FileLock::acquire(folder_ / ("." + domain_ + ".lock")));
    // What other processes wrote, with this process's own changes on top.
    DomainRead onDisk = readDomain(domain_);
    if (onDisk.state == DomainState::Unreadable)
        return makeError(pathForDomain(domain_).string() + " cannot be read (" + onDisk.problem +
                         "); settings not saved");
    Dictionary merged = onDisk.values;
    for (const auto& key : changed_)
        merged.set(key, persistent_.get(key));
    if (!changed_.empty() || onDisk.state == DomainState::Damaged) {
        if (auto written = writeDomainLocked(merged, domain_); !written)
            return written;
        changed_.clear();
    }
    persistent_ = merged;
    return {};
}

Dictionary UserDefaults::persistentDomainForName(std::string_view name) const {
    {
        std::lock_guard lock(mutex_);
        if (name == domain_)
            return *Value(persistent_).deepCopy().dictionary();
    }
    return readDomain(name).values;
}

Result<void> UserDefaults::setPersistentDomain(const Dictionary& domain, std::string_view name) {
    const Dictionary copy = *Value(domain).deepCopy().dictionary();
    // Our own domain is also our in-memory state: hold it steady while it is replaced.
    std::unique_lock ownLock(mutex_, std::defer_lock);
    if (name == domain_)
        ownLock.lock();
    std::error_code ec;
    fs::create_directories(folder_, ec);
    if (ec)
        return makeError("cannot create " + folder_.string() + ": " + ec.message(), ec.value());
    const auto fileLock = LUMETTA_TRY(FileLock::acquire(folder_ / ("." + std::string(name) + ".lock")));
    if (auto written = writeDomainLocked(copy, name); !written)
        return written;
    if (name == domain_) {
        persistent_ = copy;
        changed_.clear();
    }
    return {};
}

Dictionary UserDefaults::dictionaryRepresentation() const {
    std::lock_guard lock(mutex_);
    Dictionary all = registered_.mutableCopy();
    all.addEntries(persistent_);
    return *Value(all).deepCopy().dictionary();
}

} // namespace platform
