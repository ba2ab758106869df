#include "platform/foundation/UserDefaults.h"

#include "platform/foundation/AtomicFile.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/PropertyList.h"

#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <unistd.h>

namespace platform {

namespace fs = std::filesystem;

namespace {

std::mutex standardMutex;
std::unique_ptr<UserDefaults> standardInstance;
std::string standardDomain = "lumetta-mail";

// Holds an exclusive advisory lock on a lock file beside the domain for as long as it
// lives, so read-merge-write of one domain is serialised across processes.
class DomainLock {
public:
    explicit DomainLock(const fs::path& path)
        : fd_(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
        if (fd_ >= 0)
            while (::flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
            }
    }
    ~DomainLock() {
        if (fd_ >= 0)
            ::close(fd_); // closing releases the lock
    }
    DomainLock(const DomainLock&) = delete;
    DomainLock& operator=(const DomainLock&) = delete;

private:
    int fd_;
};

} // namespace

UserDefaults::UserDefaults(std::string domain, fs::path folder)
    : domain_(std::move(domain)), folder_(std::move(folder)) {
    persistent_ = readDomain(domain_);
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

Dictionary UserDefaults::readDomain(std::string_view name) const {
    const fs::path path = pathForDomain(name);
    std::error_code ec;
    if (!fs::exists(path, ec))
        return Dictionary();
    auto bytes = AtomicFile::read(path);
    if (!bytes) {
        Log::line("UserDefaults: " + bytes.error().message);
        return Dictionary();
    }
    auto parsed = PropertyList::parse(bytes.value());
    if (!parsed || !parsed.value().isDictionary()) {
        // Keep the damaged file for the user instead of silently writing over it.
        fs::path aside = path;
        aside += ".corrupt";
        fs::rename(path, aside, ec);
        Log::line("UserDefaults: " + path.string() + " is not a readable property list (" +
                  (parsed ? std::string("not a dictionary") : parsed.error().message) + "); moved to " +
                  aside.string());
        return Dictionary();
    }
    return *parsed.value().dictionary();
}

Value UserDefaults::valueForKey(std::string_view key) const {
    std::lock_guard lock(mutex_);
    Value v = persistent_.get(key);
    return v.isNull() ? registered_.get(key) : v;
}

void UserDefaults::setObject(Value value, std::string key) {
    std::lock_guard lock(mutex_);
    changed_.insert(key);
    persistent_.set(std::move(key), std::move(value));
}

void UserDefaults::removeObjectForKey(std::string_view key) {
    setObject(Value(), std::string(key));
}

void UserDefaults::registerDefaults(const Dictionary& defaults) {
    std::lock_guard lock(mutex_);
    registered_.addEntries(defaults);
}

Result<void> UserDefaults::synchronize() {
    std::lock_guard lock(mutex_);
    std::error_code ec;
    fs::create_directories(folder_, ec);
    if (ec)
        return makeError("cannot create " + folder_.string() + ": " + ec.message(), ec.value());
    DomainLock fileLock(folder_ / ("." + domain_ + ".lock"));
    // What other processes wrote, with this process's own changes on top.
    Dictionary merged = readDomain(domain_);
    for (const auto& key : changed_)
        merged.set(key, persistent_.get(key));
    if (!changed_.empty()) {
        auto xml = PropertyList::xml(merged);
        if (!xml)
            return xml.error();
        if (auto written = AtomicFile::write(pathForDomain(domain_), xml.value()); !written)
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
            return persistent_.mutableCopy();
    }
    return readDomain(name);
}

Result<void> UserDefaults::setPersistentDomain(const Dictionary& domain, std::string_view name) {
    std::error_code ec;
    fs::create_directories(folder_, ec);
    if (ec)
        return makeError("cannot create " + folder_.string() + ": " + ec.message(), ec.value());
    auto xml = PropertyList::xml(domain);
    if (!xml)
        return xml.error();
    DomainLock fileLock(folder_ / ("." + std::string(name) + ".lock"));
    if (auto written = AtomicFile::write(pathForDomain(name), xml.value()); !written)
        return written;
    if (name == domain_) {
        std::lock_guard lock(mutex_);
        persistent_ = domain.mutableCopy();
        changed_.clear();
    }
    return {};
}

Dictionary UserDefaults::dictionaryRepresentation() const {
    std::lock_guard lock(mutex_);
    Dictionary all = registered_.mutableCopy();
    all.addEntries(persistent_);
    return all;
}

} // namespace platform
