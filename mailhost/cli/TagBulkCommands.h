#pragma once

#include "mailhost/cli/LibraryCommands.h"
#include "mailhost/cli/MessageSelection.h"
#include "mailhost/cli/TagPlan.h"

namespace mailhost {

// `lumetta tag`: changes the tags of many messages at once through the bundle's viewer
// commands, exactly as the client's menus and dialogs do, so the message files and the
// metadata index follow every change. Large selections go in portions, each a complete
// command of its own: a progress line shows how far it got, and an interruption (Ctrl-C)
// stops between portions with every message either changed or untouched.
class TagBulkCommands {
public:
    using Context = LibraryCommands::Context;

    // Messages per portion; clearing all tags writes the files once per message, and
    // each of those writes looks at the whole portion, so it goes in smaller ones.
    static constexpr std::size_t kPortion = 2000;
    static constexpr std::size_t kClearAllPortion = 50;

    static int run(const Context& c, const MessageSelection::Options& selection,
                   const TagPlan::Options& changes);
};

} // namespace mailhost
