#pragma once

#include "mailhost/cli/LibraryCommands.h"

#include <string>
#include <vector>

namespace mailhost {

// `lumetta find` and `lumetta smart add|list|show|remove`: criteria typed as
// CriterionSyntax reads them, evaluated over the library, and smart mailboxes kept in the
// library. Each returns the exit status: 0 done, 1 the work failed, 2 the command was
// wrong (a criterion that does not read or cannot be evaluated).
class CriteriaCommands {
public:
    using Context = LibraryCommands::Context;

    // The messages of the library (or of `mailbox`) that satisfy all (or any) of the
    // criteria, evaluated message by message, listed as `lumetta ls` lists them.
    static int find(const Context& c, const std::vector<std::string>& criteria, bool all,
                    const std::string& mailbox);

    static int smartAdd(const Context& c, const std::string& name, const std::vector<std::string>& criteria,
                        bool all);
    // Every smart mailbox with its criteria in their typed form.
    static int smartList(const Context& c);
    // The messages a smart mailbox holds now; with `explain`, how it is answered (the
    // index query and the criteria evaluated in memory) and how many messages match.
    static int smartShow(const Context& c, const std::string& name, bool explain);
    static int smartRemove(const Context& c, const std::string& name);
};

} // namespace mailhost
