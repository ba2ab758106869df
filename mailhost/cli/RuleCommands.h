#pragma once

#include "mailhost/cli/LibraryCommands.h"

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace mailhost {

// `lumetta rules list|add|remove|enable|disable|apply`: the library's mail rules, with
// criteria typed as for `lumetta find` (CriterionSyntax) and actions as RuleActionSyntax
// reads them. A new rule is checked with the rule's own `isValid:` (so a loaded bundle
// has its say) and refused with the error the user would see in a rules editor.
// Commands return the exit status: 0 done, 1 the work failed, 2 the command was wrong.
class RuleCommands {
public:
    using Context = LibraryCommands::Context;

    // Adds the commands to the program's parser; `json` is the program's --json switch.
    RuleCommands(CLI::App& app, bool& json);

    bool chosen() const;
    int run(const Context& c) const;

    static int list(const Context& c);
    static int add(const Context& c, const std::string& name, bool all,
                   const std::vector<std::string>& criteria, const std::vector<std::string>& actions);
    static int remove(const Context& c, const std::string& name);
    static int setActive(const Context& c, const std::string& name, bool active);
    // [NAME] (MAILBOX | ID...): the named rule (active or not), else every active rule,
    // applied to a mailbox's messages or to messages by number, as arriving mail is.
    static int apply(const Context& c, const std::vector<std::string>& words);

private:
    CLI::App* list_ = nullptr;
    CLI::App* add_ = nullptr;
    CLI::App* remove_ = nullptr;
    CLI::App* enable_ = nullptr;
    CLI::App* disable_ = nullptr;
    CLI::App* apply_ = nullptr;
    std::string name_;
    bool all_ = false; // the default; the flag only documents it
    bool any_ = false;
    std::vector<std::string> criteria_;
    std::vector<std::string> actions_;
    std::vector<std::string> words_;
};

} // namespace mailhost
