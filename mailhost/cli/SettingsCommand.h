#pragma once

#include "mailhost/cli/LibraryCommands.h"

#include <string>
#include <vector>

namespace mailhost {

// `lumetta settings [NAME [VALUE]]`: the Lumetta settings of the preferences pane by
// short names (alarm-time, show-tags-panel, ...). The settings the pane's own code
// writes are changed through the pane's actions, as clicking its controls would; the
// others are written as the pane's bindings write them. Returns the exit status.
class SettingsCommand {
public:
    using Context = LibraryCommands::Context;

    struct Setting {
        const char* name;
        const char* key;
        // How a value is read and written: "bool", "int", "string", or the pane action
        // that writes it (a selector).
        const char* kind;
        const char* help;
    };
    static const std::vector<Setting>& settings();

    // No name: every setting. A name: its value. A name and a value: change it.
    static int run(const Context& c, const std::string& name, const std::vector<std::string>& value);
    // The names with their meanings and accepted values, for --help.
    static std::string help();
};

} // namespace mailhost
