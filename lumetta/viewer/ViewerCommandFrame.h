#pragma once

#include "lumetta/viewer/RemovalSet.h"
#include "mailhost/mail/Library.h"
#include "mailhost/viewer/MessageViewer.h"
#include "platform/foundation/Dictionary.h"

#include <functional>

namespace lumetta {

// How every bulk tag command works over a viewer's selection: for each selected
// message, in order, that keeps a tag record, the command's edit on the live record
// with the record's removal set; then the set is stored back and the message's index
// entry brought in line. Afterwards the closing steps tell the host which messages
// changed, have it write their files, and tell the tag panels and the list to reload.
class ViewerCommandFrame {
public:
    static constexpr const char* kRulesWereApplied = "LURulesWereApplied";

    // What became of one message: stored (removal set stored, index synchronised) or
    // left exactly as it was.
    enum class Step { Store, Skip };
    using Edit =
        std::function<Step(mailhost::Message& message, platform::Dictionary& record, RemovalSet& removals)>;
    // The edit of a command that never deletes a key, and so leaves the removal set alone.
    using AddingEdit = std::function<void(mailhost::Message& message, platform::Dictionary& record)>;

    // The edits, then the closing steps once.
    static void run(mailhost::MessageViewer& viewer, const Edit& edit);
    static void runWithoutRemovals(mailhost::MessageViewer& viewer, const AddingEdit& edit);
    // The edit of one message alone, without closing steps; false when the message
    // keeps no record.
    static bool editOne(mailhost::Message& message, const Edit& edit);

    // Flags changed for the whole selection (nil flags), files written, panels told.
    static void closingSteps(const mailhost::MessageList& selection);

private:
    // Runs `body` inside one index transaction, which ends before the closing steps: the
    // host's file writer takes the index in its own turn and must never wait for it.
    static void inIndexBatch(const std::function<void()>& body);
};

} // namespace lumetta
