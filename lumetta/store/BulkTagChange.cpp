#include "lumetta/store/BulkTagChange.h"

#include "lumetta/store/MessageTags.h"
#include "lumetta/store/TagRecord.h"
#include "platform/foundation/IgnoreError.h"
#include "platform/spotlight/MetadataStore.h"

#include <optional>

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
    {
        // One index transaction for the whole selection instead of one per attribute.
        // It ends before the files are written: the host's writer takes the index in
        // its own turn, and must never wait for a transaction held here.
        std::optional<platform::spotlight::MetadataStore::Transaction> batch;
        if (auto* store = platform::spotlight::MetadataStore::current())
            batch.emplace(*store);
        for (const auto& message : changed_)
            MessageTags::lumettaSynchroniseWithSpotlight(*message);
        if (batch)
            platform::ignoreError(batch->commit(),
                                  "metadata batch: a failed commit leaves the index to the next reindex");
    }
    mailhost::Library::flagsChangedForMessages(changed_);
    mailhost::Library::updateMessageFiles(nullptr);
    changed_.clear();
}

} // namespace lumetta
