#pragma once

#include "mailhost/cli/LibraryCommands.h"

#include <string>

namespace mailhost {

// `lumetta mdfind`, `lumetta mdls` and `lumetta reindex`: the library's metadata index
// as a person at a terminal uses it. Each returns the exit status: 0 done, 1 the work
// failed, 2 the command was wrong (a query that does not parse).
class MetadataCommands {
public:
    using Context = LibraryCommands::Context;

    // The messages a query selects: their numbers and files (with --json the listing
    // objects of `lumetta ls`), or with `count` only how many there are.
    static int mdfind(const Context& c, const std::string& query, bool count);
    // Every attribute of a message's file, with its type.
    static int mdls(const Context& c, const std::string& idOrPath);
    // Indexes every message file of the library again from the file, drops items of
    // files that are gone, and passes every message through the write path, so that
    // whatever bundles mirror from the files (the tags) is written again too.
    static int reindex(const Context& c);
};

} // namespace mailhost
