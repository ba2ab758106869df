#pragma once

#include "mailhost/cli/LibraryCommands.h"
#include "mailhost/cli/PreferencesPane.h"

#include <string>
#include <vector>

namespace mailhost {

// `lumetta keywords ...` and `lumetta projects ...`: the keyword and project lists that
// fill the tag menus, edited through the bundle's preferences pane so its rules hold
// and every open viewer hears of the change. Entries are shown and named by position
// from 1; an argument that is an entry's title names that entry (the first with it).
// Each returns the exit status: 0 done, 1 the work failed, 2 the command was wrong.
class ListCommands {
public:
    using Context = LibraryCommands::Context;
    using List = PreferencesPane::List;

    static int list(const Context& c, List which);
    static int add(const Context& c, List which, const std::vector<std::string>& titles);
    // A separator line in the project menu.
    static int addSeparator(const Context& c);
    static int remove(const Context& c, List which, const std::vector<std::string>& entries);
    // FROM... TO: the entries named go, in their order, above the entry now at position
    // TO (one past the last: to the end).
    static int move(const Context& c, List which, const std::vector<std::string>& arguments);
};

} // namespace mailhost
