#pragma once

#include "mailhost/viewer/MessageViewer.h"

namespace lumetta {

// The viewer's commands that first ask the user in a dialog, then run a bulk tag
// command with what was chosen. A dialog ended with Cancel changes nothing and posts
// nothing. Each makes its own dialog owner and lets it go when done.
class DialogCommands {
public:
    // Other project: then setProject with the project typed.
    static void setOtherProject(mailhost::MessageViewer& viewer);
    // Due dates: the set tab sets a date, or switches the dates off or deletes them;
    // the move tab shifts them.
    static void editDueDate(mailhost::MessageViewer& viewer);
    // Notes: the note, its date token expanded once for all messages, written with the
    // placement chosen.
    static void setNote(mailhost::MessageViewer& viewer);
    // Keywords: opened on "set"; then add, remove or set the checked keywords.
    static void setKeywords(mailhost::MessageViewer& viewer);
};

} // namespace lumetta
