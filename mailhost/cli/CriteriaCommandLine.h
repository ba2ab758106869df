#pragma once

#include "mailhost/cli/LibraryCommands.h"

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace mailhost {

// The `find` and `smart` commands on the command line: adds them to the program's
// parser, keeps what the user gave, and runs the one chosen.
class CriteriaCommandLine {
public:
    // `json` is the program's --json switch, which these commands accept too.
    CriteriaCommandLine(CLI::App& app, bool& json);

    // Whether the command line chose one of these commands.
    bool chosen() const;
    int run(const LibraryCommands::Context& c) const;

private:
    CLI::App* find_ = nullptr;
    CLI::App* add_ = nullptr;
    CLI::App* list_ = nullptr;
    CLI::App* show_ = nullptr;
    CLI::App* remove_ = nullptr;
    std::vector<std::string> criteria_;
    std::string mailbox_;
    std::string name_;
    bool all_ = false; // the default; the flag only documents it
    bool any_ = false;
    bool explain_ = false;
};

} // namespace mailhost
