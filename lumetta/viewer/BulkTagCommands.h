#pragma once

#include "mailhost/viewer/MessageViewer.h"
#include "platform/foundation/Value.h"

#include <string>

namespace lumetta {

// The tag commands of a viewer that change every selected message at once, as the
// menus, the toolbar and the dialogs' commands invoke them. Each edits the records in
// the common frame (ViewerCommandFrame); the removal set records every key a command
// deletes, so the files and the index lose it too. Values are stored as they come:
// storing a null value deletes a key without recording it.
class BulkTagCommands {
public:
    // Appends each keyword a message lacks, keeping the existing order. Nil or empty:
    // nothing at all happens (no notice is posted).
    static void addKeywords(mailhost::MessageViewer& viewer, const platform::Value& keywords);
    // Drops every occurrence of each keyword; a list left empty is deleted. Messages
    // without keywords are not touched. Nil or empty: nothing happens.
    static void removeKeywords(mailhost::MessageViewer& viewer, const platform::Value& keywords);
    // Replaces the list with the array given (an empty array stays an empty list); nil
    // deletes it.
    static void setKeywords(mailhost::MessageViewer& viewer, const platform::Value& keywords);
    static void clearKeywords(mailhost::MessageViewer& viewer);
    // Nil deletes the project.
    static void setProject(mailhost::MessageViewer& viewer, const platform::Value& project);
    // 0 deletes the priority.
    static void setPriority(mailhost::MessageViewer& viewer, int priority);
    // A date sets the due date and switches it on; "None" deletes date and state; "Off"
    // switches the date off and any other string switches it on, leaving the date.
    // Nil: nothing happens.
    static void setDueDate(mailhost::MessageViewer& viewer, const platform::Value& dateOrWord);
    // Shifts due dates in force by `days` (a number; nil: nothing happens). A message
    // without a date in force gets now + days, switched on, when `useToday`, and keeps
    // what it has otherwise.
    static void moveDueDate(mailhost::MessageViewer& viewer, const platform::Value& days, bool useToday);
    // Writes a note (its date token already expanded) with a placement: 0 replaces the
    // note (an empty note deletes it), 1 puts it before the existing note, 2 after.
    static void writeNote(mailhost::MessageViewer& viewer, const std::string& note, int placement);
    // Deletes every tag and the linked calendar to-do. The closing steps run once per
    // selected message, inside the loop.
    static void clearAll(mailhost::MessageViewer& viewer);
};

} // namespace lumetta
