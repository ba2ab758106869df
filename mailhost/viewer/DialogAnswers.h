#pragma once

#include "platform/foundation/Dictionary.h"

#include <cstddef>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace mailhost {

// What a front end without a display answers to the dialogs that commands open. The
// front end queues an answer per dialog before it sends the command; the dialog, when
// it runs, takes the first answer queued under its name. A dialog without an answer is
// cancelled: nobody is there to confirm it, and a cancelled dialog changes nothing.
//
// An answer holds the values of the dialog's controls under their outlet names (text
// for fields, 0/1 for switches and radio buttons, a tag for pop-ups, an identifier for
// tab views, a date for date pickers) and "OK": false to cancel.
class DialogAnswers {
public:
    // The dialogs, by the names their answers are queued under.
    static constexpr const char* kOtherProject = "OtherProject";
    static constexpr const char* kOtherKeyword = "OtherKeyword";
    static constexpr const char* kEditKeywords = "EditKeywords";
    static constexpr const char* kEditNote = "EditNote";
    static constexpr const char* kDueDate = "DueDate";
    // Confirm (the default) or cancel.
    static constexpr const char* kOK = "OK";
    // Edit keywords: the keywords to check, in order (an array of strings).
    static constexpr const char* kCheckedKeywords = "checkedKeywords";

    static DialogAnswers& shared();

    void push(std::string dialog, platform::Dictionary answer);
    std::optional<platform::Dictionary> take(std::string_view dialog);
    std::size_t pending() const;
    void clear();

private:
    mutable std::mutex mutex_;
    std::deque<std::pair<std::string, platform::Dictionary>> queue_;
};

} // namespace mailhost
