#include "lumetta/store/BulkTagChange.h"

#include "lumetta/store/MessageTags.h"
#include "lumetta/store/TagRecord.h"

namespace lumetta {

bool BulkTagChange::set(const std::shared_ptr<mailhost::Message>& message, const std::string& key,
                        platform::Value value) {
    if (value.isNull())
        return remove(message, key);
    auto record = message ? MessageTags::lumettaExtraData(*message) : std::nullopt;
    if (!record)
        return false;
    TagRecord::setTag(*record, key, std::move(value));
    changed(message);
    return true;
}

bool BulkTagChange::remove(const std::shared_ptr<mailhost::Message>& message, const std::string& key) {
    auto record = message ? MessageTags::lumettaExtraData(*message) : std::nullopt;
    if (!record)
        return false;
    TagRecord::removeTag(*record, key);
    changed(message);
    return true;
}

void BulkTagChange::changed(const std::shared_ptr<mailhost::Message>& message) {
    if (!changed_.empty() && changed_.back() == message)
        return;
    changed_.push_back(message);
}

void BulkTagChange::commit() {
    if (changed_.empty())
        return;
    for (const auto& message : changed_)
        MessageTags::lumettaSynchroniseWithSpotlight(*message);
    mailhost::Library::flagsChangedForMessages(changed_);
    mailhost::Library::updateMessageFiles(nullptr);
    changed_.clear();
}

} // namespace lumetta
