#include "mailhost/cli/PreferenceCommandLine.h"

#include "mailhost/cli/ListCommands.h"
#include "mailhost/cli/SettingsCommand.h"

#include <CLI/CLI.hpp>

namespace mailhost {

namespace {

const char* kNamesHelp = "\nEntries are numbered from 1 as 'list' shows them; a title names its entry too.\n";

} // namespace

PreferenceCommandLine::PreferenceCommandLine(CLI::App& app, bool& json) {
    for (bool keywords : {true, false}) {
        const std::string noun = keywords ? "keyword" : "project";
        auto* top = app.add_subcommand(noun + "s", "The " + noun + " list of the tag menus and panels");
        top->require_subcommand(1);
        ListCommandsOf& l = keywords ? keywords_ : projects_;
        l.list = top->add_subcommand("list", "The " + noun + "s in menu order, numbered");
        l.list->add_flag("--json", json, "Print the titles as a JSON array");
        l.add = top->add_subcommand("add", "Add " + noun + "s at the end, e.g. 'lumetta " + noun + "s add " +
                                               (keywords ? "Invoice Travel" : "Apollo") + "'");
        l.add->add_option("titles", arguments_, "New " + noun + "s")->required();
        l.remove = top->add_subcommand("remove", "Remove " + noun + "s by title or number, e.g. 'lumetta " +
                                                     noun + "s remove 3'");
        l.remove->add_option("entries", arguments_, "Titles or numbers")->required();
        l.remove->footer(kNamesHelp);
        l.move = top->add_subcommand("move", "Move entries (FROM...) above the entry at TO, e.g. 'lumetta " +
                                                 noun + "s move 1 3 5' (TO one past the last: to the end)");
        l.move->add_option("entries", arguments_, "FROM... TO")->required()->expected(2, -1);
        l.move->footer(kNamesHelp);
        if (!keywords)
            l.separator =
                top->add_subcommand("add-separator", "Add a separator line at the end of the project menu");
    }
    settings_ = app.add_subcommand("settings", "Read and change the Lumetta settings: [NAME [VALUE]]");
    settings_->add_option("name", name_, "A setting's name, e.g. alarm-time");
    settings_->add_option("value", arguments_, "Its new value, e.g. 7:05");
    settings_->add_flag("--json", json, "Print every setting as JSON");
    settings_->footer(SettingsCommand::help());
}

bool PreferenceCommandLine::chosen() const {
    return keywords_.list->parsed() || keywords_.add->parsed() || keywords_.remove->parsed() ||
           keywords_.move->parsed() || projects_.list->parsed() || projects_.add->parsed() ||
           projects_.remove->parsed() || projects_.move->parsed() || projects_.separator->parsed() ||
           settings_->parsed();
}

int PreferenceCommandLine::run(const LibraryCommands::Context& c) const {
    if (settings_->parsed())
        return SettingsCommand::run(c, name_, arguments_);
    if (projects_.separator->parsed())
        return ListCommands::addSeparator(c);
    for (bool keywords : {true, false}) {
        const ListCommandsOf& l = keywords ? keywords_ : projects_;
        const auto which = keywords ? ListCommands::List::Keywords : ListCommands::List::Projects;
        if (l.list->parsed())
            return ListCommands::list(c, which);
        if (l.add->parsed())
            return ListCommands::add(c, which, arguments_);
        if (l.remove->parsed())
            return ListCommands::remove(c, which, arguments_);
        if (l.move->parsed())
            return ListCommands::move(c, which, arguments_);
    }
    return 2;
}

} // namespace mailhost
