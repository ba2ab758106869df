#pragma once

#include "platform/foundation/Date.h"
#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Value.h"

#include <functional>
#include <optional>
#include <string>

namespace lumetta {

// A rule's tag actions, read once for a whole run and then carried out on each matched
// message's tag record, always in the same order: clear all, unflag, clear keywords,
// clear the due date, project, add keywords, remove keywords, priority, set the due
// date, move the due date, note. The fixed order is what makes combinations mean what
// they say: clearing and adding keywords leaves exactly the added ones, clearing all and
// setting a project leaves only the project.
//
// Every key taken out of a record is recorded, once, in the record's removal list
// ("__tagsToRemove", kept as an array here) so that the next write drops it from the
// message file too.
class RuleTagPlan {
public:
    // Reads the actions from a rule's extra dictionary (nothing: no actions). The note
    // text is prepared here: every `dateToken` in it becomes `today` written with
    // `dateFormat` (calendar-format %-codes).
    static RuleTagPlan read(const std::optional<platform::Dictionary>& actions, const std::string& dateToken,
                            platform::Date today, const std::string& dateFormat);

    // Whether any tag action is there; a rule that only takes marks off messages
    // ("MarkUnread", "MarkUnflagged") never reaches the records.
    bool touchesTags() const;

    // Carries the actions out on one record, in place. `unflag` is the rule's
    // "MarkUnflagged"; `deleteToDo` is asked to delete the calendar to-do of a message
    // linked to one when everything is cleared. Dates are reckoned from Clock::now().
    void apply(platform::Dictionary& record, bool unflag, const std::function<void()>& deleteToDo) const;

    // The prepared note text; nothing when the rule writes no note.
    const std::optional<std::string>& noteText() const { return note_; }

private:
    platform::Value project_, priority_, offset_, comment_, setDueDate_, addKeywords_, removeKeywords_;
    std::string location_;
    bool clearAll_ = false, clearDueDate_ = false, clearKeywords_ = false, fromExisting_ = false;
    std::optional<std::string> note_;
};

} // namespace lumetta
