#pragma once

#include "mailhost/cli/LibraryCommands.h"

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace mailhost {

// `lumetta keywords`, `lumetta projects` and `lumetta settings` on the command line:
// adds them to the program's parser and runs the one chosen.
class PreferenceCommandLine {
public:
    // `json` is the program's --json switch, which `list` and `settings` accept too.
    PreferenceCommandLine(CLI::App& app, bool& json);

    bool chosen() const;
    int run(const LibraryCommands::Context& c) const;

private:
    struct ListCommandsOf {
        CLI::App* list = nullptr;
        CLI::App* add = nullptr;
        CLI::App* remove = nullptr;
        CLI::App* move = nullptr;
        CLI::App* separator = nullptr;
    };
    ListCommandsOf keywords_, projects_;
    CLI::App* settings_ = nullptr;
    std::vector<std::string> arguments_;
    std::string name_;
};

} // namespace mailhost
