#include "lumetta/viewer/ViewerCommandFrame.h"

#include "lumetta/store/MessageTags.h"
#include "platform/foundation/IgnoreError.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/spotlight/MetadataStore.h"

#include <optional>

namespace lumetta {

using mailhost::Message;
using platform::Dictionary;

void ViewerCommandFrame::run(mailhost::MessageViewer& viewer, const Edit& edit) {
    // The selection as it stood when the command began, also for the closing steps.
    const mailhost::MessageList selection = viewer.selectedMessages();
    inIndexBatch([&] {
        for (const auto& message : selection)
            if (message)
                editOne(*message, edit);
    });
    closingSteps(selection);
}

void ViewerCommandFrame::runWithoutRemovals(mailhost::MessageViewer& viewer, const AddingEdit& edit) {
    const mailhost::MessageList selection = viewer.selectedMessages();
    inIndexBatch([&] {
        for (const auto& message : selection) {
            if (!message || !MessageTags::respondsToExtraData(*message))
                continue;
            auto record = MessageTags::lumettaExtraData(*message);
            if (!record)
                continue;
            edit(*message, *record);
            MessageTags::lumettaSynchroniseWithSpotlight(*message);
        }
    });
    closingSteps(selection);
}

bool ViewerCommandFrame::editOne(Message& message, const Edit& edit) {
    if (!MessageTags::respondsToExtraData(message))
        return false;
    // A stored message whose file cannot be read has no record to edit.
    auto record = MessageTags::lumettaExtraData(message);
    if (!record)
        return false;
    RemovalSet removals = RemovalSet::takeFrom(*record);
    if (edit(message, *record, removals) == Step::Skip)
        return true;
    removals.storeIn(*record);
    MessageTags::lumettaSynchroniseWithSpotlight(message);
    return true;
}

void ViewerCommandFrame::closingSteps(const mailhost::MessageList& selection) {
    mailhost::Library::flagsChangedForMessages(selection);
    mailhost::Library::updateMessageFiles(nullptr);
    platform::NotificationCenter::defaultCenter().post(kRulesWereApplied);
}

void ViewerCommandFrame::inIndexBatch(const std::function<void()>& body) {
    std::optional<platform::spotlight::MetadataStore::Transaction> batch;
    if (auto* store = platform::spotlight::MetadataStore::current())
        batch.emplace(*store);
    body();
    if (batch)
        platform::ignoreError(batch->commit(),
                              "metadata batch: a failed commit leaves the index to the next reindex");
}

} // namespace lumetta
