#include "mailhost/criteria/SmartMailboxes.h"

#include "platform/foundation/AtomicFile.h"
#include "platform/foundation/PropertyList.h"

#include <algorithm>
#include <system_error>

namespace mailhost {

namespace fs = std::filesystem;
using platform::Result;

Result<SmartMailboxes> SmartMailboxes::load(const fs::path& libraryRoot) {
    SmartMailboxes store(libraryRoot / kFileName);
    std::error_code ec;
    if (!fs::exists(store.file_, ec) && !ec)
        return store;
    auto bytes = platform::AtomicFile::read(store.file_);
    if (!bytes)
        return platform::makeError("cannot read " + store.file_.string() + ": " + bytes.error().message);
    auto parsed = platform::PropertyList::parse(bytes.value());
    const std::string damaged =
        store.file_.string() + " is damaged and was left as it is (repair or remove it): ";
    if (!parsed)
        return platform::makeError(damaged + parsed.error().message);
    const platform::Dictionary* entries = parsed.value().dictionary();
    if (!entries)
        return platform::makeError(damaged + "it does not hold a dictionary of mailboxes");
    store.entries_ = entries->mutableCopy();
    return store;
}

std::vector<std::string> SmartMailboxes::names() const {
    std::vector<std::string> out = entries_.keys();
    std::sort(out.begin(), out.end());
    return out;
}

std::shared_ptr<MessageCriterion> SmartMailboxes::criterion(const std::string& name) const {
    const platform::Value entry = entries_.get(name);
    const platform::Dictionary* form = entry.dictionary();
    return form ? MessageCriterion::withDictionary(*form) : nullptr;
}

void SmartMailboxes::set(const std::string& name, const MessageCriterion& compound) {
    entries_.set(name, compound.dictionaryRepresentation());
}

bool SmartMailboxes::remove(const std::string& name) {
    if (!entries_.contains(name))
        return false;
    entries_.remove(name);
    return true;
}

Result<void> SmartMailboxes::save() const {
    auto xml = platform::PropertyList::xml(entries_);
    if (!xml)
        return platform::makeError("the smart mailboxes cannot be written: " + xml.error().message);
    auto written = platform::AtomicFile::write(file_, xml.value());
    if (!written)
        return platform::makeError("cannot save " + file_.string() + ": " + written.error().message);
    return {};
}

} // namespace mailhost
