#include "mailhost/criteria/SmartMailboxes.h"

#include <algorithm>

namespace mailhost {

namespace fs = std::filesystem;
using platform::Result;

SmartMailboxes::SmartMailboxes(const fs::path& libraryRoot)
    : file_(libraryRoot / kFileName, "the smart mailboxes") {}

Result<void> SmartMailboxes::take(const platform::Value& contents) {
    if (contents.isNull())
        return {};
    const platform::Dictionary* entries = contents.dictionary();
    if (!entries)
        return platform::makeError(file_.damaged() + "it does not hold a dictionary of mailboxes");
    entries_ = entries->mutableCopy();
    return {};
}

Result<SmartMailboxes> SmartMailboxes::open(const fs::path& libraryRoot, bool forEditing) {
    SmartMailboxes store(libraryRoot);
    auto contents = LUMETTA_TRY(store.file_.read(forEditing));
    LUMETTA_TRY_VOID(store.take(contents));
    return store;
}

Result<SmartMailboxes> SmartMailboxes::load(const fs::path& libraryRoot) {
    return open(libraryRoot, false);
}

Result<SmartMailboxes> SmartMailboxes::edit(const fs::path& libraryRoot) {
    return open(libraryRoot, true);
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
    return file_.write(entries_);
}

} // namespace mailhost
