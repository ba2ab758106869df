#pragma once

#include "mailhost/cli/LibraryCommands.h"
#include "mailhost/cli/MessageSelection.h"
#include "mailhost/cli/TagPlan.h"

namespace CLI {
class App;
}

namespace mailhost {

// `lumetta tag` on the command line: adds it to the program's parser with every option
// explained, keeps what the user gave, and runs it.
class TagCommandLine {
public:
    explicit TagCommandLine(CLI::App& app);

    bool chosen() const;
    int run(const LibraryCommands::Context& c) const;

    // The text under the options in --help: choosing messages, the order changes are
    // applied in, and examples.
    static std::string footer();

private:
    CLI::App* tag_ = nullptr;
    MessageSelection::Options selection_;
    TagPlan::Options changes_;
};

} // namespace mailhost
