#pragma once

#include "mailhost/cli/LibraryCommands.h"

#include <string>
#include <vector>

namespace mailhost {

// `lumetta tags show|set|remove`: a message's tags as the Lumetta bundle keeps them.
// The host does not link the bundle; every tag operation is reached by selector on
// the message, so the bundle's whole write path runs as it does in the client. Each
// returns the exit status: 0 done, 1 the work failed, 2 the command was wrong.
class TagCommands {
public:
    using Context = LibraryCommands::Context;

    // How `set` reads its value.
    enum class ValueType { String, Integer, Date, Array };

    // The record's tags and the tags the message file holds, for each message number
    // or loose message file.
    static int show(const Context& c, const std::vector<std::string>& idsOrPaths);
    static int set(const Context& c, const std::string& id, const std::string& key, const std::string& value,
                   ValueType type);
    static int remove(const Context& c, const std::string& id, const std::string& key);
};

} // namespace mailhost
