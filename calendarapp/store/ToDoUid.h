#pragma once

#include <string>
#include <string_view>

namespace calendarapp {

// UIDs of new to-dos, and whether a UID can name the to-do's item file.
class ToDoUid {
public:
    // A random (version 4) UUID in upper case: unique without coordination and made only
    // of characters every file system and sync tool accepts.
    static std::string generate();

    // True when `<uid>.ics` is a plain file name: letters, digits and "-_.@+" only, not
    // starting with a dot, at most 200 bytes. Other programs' UIDs may be anything; their
    // files are found by reading the folder.
    static bool isSafeFileName(std::string_view uid);
};

} // namespace calendarapp
