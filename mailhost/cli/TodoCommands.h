#pragma once

#include "mailhost/cli/LibraryCommands.h"

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace platform {
class HeadlessRunLoop;
}

namespace mailhost {

class BundleLoader;

// `lumetta todo create|show|open|delete`, `lumetta refresh` and `lumetta watch`: a
// message's linked calendar to-do, and the refresh that copies to-do changes back into
// the messages' tags. The host does not link the Lumetta bundle: every operation is its
// method, reached by selector on the message or on the bundle's principal object, so the
// calendar traffic and the tag writes are exactly the client's.
class TodoCommands {
public:
    // `json` is the program's --json switch, which these commands accept too.
    TodoCommands(CLI::App& app, bool& json);

    // Whether the command line chose one of these commands.
    bool chosen() const;
    // `bundles` are the loaded bundles; `loop` is the program's main run loop, which
    // `watch` runs until interrupted.
    int run(const LibraryCommands::Context& c, const BundleLoader& bundles,
            platform::HeadlessRunLoop& loop) const;

private:
    int create(const LibraryCommands::Context& c) const;
    int show(const LibraryCommands::Context& c) const;
    int open(const LibraryCommands::Context& c) const;
    int remove(const LibraryCommands::Context& c) const;
    int refresh(const LibraryCommands::Context& c, const BundleLoader& bundles) const;
    int watch(const LibraryCommands::Context& c, const BundleLoader& bundles,
              platform::HeadlessRunLoop& loop) const;

    CLI::App* create_ = nullptr;
    CLI::App* show_ = nullptr;
    CLI::App* open_ = nullptr;
    CLI::App* delete_ = nullptr;
    CLI::App* refresh_ = nullptr;
    CLI::App* watch_ = nullptr;
    CLI::Option* title_ = nullptr;
    CLI::Option* calendar_ = nullptr;
    CLI::Option* due_ = nullptr;
    CLI::Option* priority_ = nullptr;
    CLI::Option* notes_ = nullptr;
    std::string id_;
    std::vector<std::string> rereadIds_;
    std::string titleText_, calendarText_, dueText_, notesText_;
    int priorityValue_ = 0;
};

} // namespace mailhost
