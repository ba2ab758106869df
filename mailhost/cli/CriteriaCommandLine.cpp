#include "mailhost/cli/CriteriaCommandLine.h"

#include "mailhost/cli/CriteriaCommands.h"
#include "mailhost/criteria/CriterionSyntax.h"

#include <CLI/CLI.hpp>

namespace mailhost {

namespace {

void addMatchRule(CLI::App& command, bool& all, bool& any) {
    auto* group = command.add_option_group("match", "How the criteria combine (default --all)");
    group->add_flag("--all", all, "Every criterion must hold");
    group->add_flag("--any", any, "One criterion is enough");
    group->require_option(0, 1);
}

} // namespace

CriteriaCommandLine::CriteriaCommandLine(CLI::App& app, bool& json) {
    find_ = app.add_subcommand("find", "Find messages by criteria such as keyword=Work or from~alice");
    addMatchRule(*find_, all_, any_);
    find_->add_option("--in", mailbox_, "Look only in this mailbox");
    find_->add_option("criteria", criteria_, "Criteria, e.g. keyword=Work 'priority>2' unread")->required();
    find_->add_flag("--json", json, "Print the messages as JSON");
    find_->footer(CriterionSyntax::help());

    auto* smart = app.add_subcommand("smart", "Smart mailboxes: saved criteria, listed afresh each time");
    smart->require_subcommand(1);
    add_ = smart->add_subcommand("add", "Make a smart mailbox: NAME CRITERION...");
    add_->add_option("name", name_, "Its name")->required();
    addMatchRule(*add_, all_, any_);
    add_->add_option("criteria", criteria_, "Criteria, as for 'lumetta find'")->required();
    add_->footer(CriterionSyntax::help());
    list_ = smart->add_subcommand("list", "The smart mailboxes and their criteria");
    list_->add_flag("--json", json, "Print them as JSON");
    show_ = smart->add_subcommand("show", "The messages a smart mailbox holds now");
    show_->add_option("name", name_, "Its name")->required();
    show_->add_flag("--explain", explain_,
                    "Print the index query and the criteria evaluated in memory instead");
    show_->add_flag("--json", json, "Print as JSON");
    remove_ = smart->add_subcommand("remove", "Delete a smart mailbox (its messages stay where they are)");
    remove_->add_option("name", name_, "Its name")->required();
}

bool CriteriaCommandLine::chosen() const {
    return find_->parsed() || add_->parsed() || list_->parsed() || show_->parsed() || remove_->parsed();
}

int CriteriaCommandLine::run(const LibraryCommands::Context& c) const {
    if (find_->parsed())
        return CriteriaCommands::find(c, criteria_, !any_, mailbox_);
    if (add_->parsed())
        return CriteriaCommands::smartAdd(c, name_, criteria_, !any_);
    if (list_->parsed())
        return CriteriaCommands::smartList(c);
    if (show_->parsed())
        return CriteriaCommands::smartShow(c, name_, explain_);
    return CriteriaCommands::smartRemove(c, name_);
}

} // namespace mailhost
