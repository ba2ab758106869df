#include "mailhost/cli/TagCommandLine.h"

#include "mailhost/cli/TagBulkCommands.h"

#include <CLI/CLI.hpp>

namespace mailhost {

TagCommandLine::TagCommandLine(CLI::App& app) {
    tag_ = app.add_subcommand("tag", "Change the tags of many messages at once");
    auto& s = selection_;
    auto& o = changes_;
    tag_->add_option("ids", s.ids, "Message numbers, as 'lumetta ls' prints them, e.g. 12 15");
    tag_->add_option("--in", s.mailbox,
                     "Every message of this mailbox, e.g. --in INBOX (with --where or "
                     "--smart: only those in it)");
    tag_->add_option("--smart", s.smart, "What this smart mailbox holds now, e.g. --smart Overdue");
    tag_->add_option("--where", s.where,
                     "Messages matching criteria, as for 'lumetta find', e.g. "
                     "--where keyword=Work 'priority>2'");
    tag_->add_flag("--any", s.any, "With --where: one criterion is enough (default: all must hold)");

    tag_->add_flag("--clear-all", o.clearAll,
                   "Remove every tag and the linked calendar to-do, e.g. --in Trash --clear-all");
    tag_->add_flag("--clear-keywords", o.clearKeywords, "Remove all keywords");
    tag_->add_option("--set-keywords", o.setKeywords,
                     "Replace the keywords by this comma-separated list, e.g. --set-keywords Work,Invoice "
                     "('' leaves an empty list)");
    tag_->add_option("--remove-keyword", o.removeKeywords,
                     "Remove a keyword (repeatable), e.g. --remove-keyword Draft")
        ->allow_extra_args(false);
    tag_->add_option("--add-keyword", o.addKeywords,
                     "Add a keyword unless there (repeatable), e.g. --add-keyword Invoice")
        ->allow_extra_args(false);
    tag_->add_option("--project", o.project, "Set the project, e.g. --project Apollo");
    tag_->add_flag("--clear-project", o.clearProject, "Remove the project");
    tag_->add_option("--priority", o.priority,
                     "Set the priority from 1 (low) to 5 (high); 0 removes it, "
                     "e.g. --priority 3");
    tag_->add_option(
        "--due", o.due,
        "Set the due date (2026-11-22 or 2026-11-22T09:30, local time unless Z or +01:00 "
        "follows), or: on / off (switch the date in force or not, keeping it), none (remove it)");
    tag_->add_option("--move-due", o.moveDue,
                     "Move due dates in force by whole days, e.g. --move-due 7 or --move-due=-1");
    tag_->add_flag("--use-today", o.useToday,
                   "With --move-due: messages without a due date in force get today plus the days");
    tag_->add_option("--note", o.note,
                     "Set the note; $date becomes today's date, e.g. --note 'Call back on $date' ('' removes "
                     "the note)");
    tag_->add_flag("--before", o.before, "With --note: put it before the existing note");
    tag_->add_flag("--after", o.after, "With --note: add it after the existing note");
    tag_->footer(footer());
}

bool TagCommandLine::chosen() const {
    return tag_->parsed();
}

int TagCommandLine::run(const LibraryCommands::Context& c) const {
    return TagBulkCommands::run(c, selection_, changes_);
}

std::string TagCommandLine::footer() {
    return "\nChoose the messages by number, or with --in, --smart or --where (--in can narrow the other "
           "two).\n"
           "Several changes in one call are applied in this order: --clear-all; --clear-keywords, "
           "--set-keywords,\n"
           "--remove-keyword, --add-keyword; --clear-project or --project; --priority; --due, then "
           "--move-due; --note.\n"
           "Message files and the metadata index are updated as each change is made, so 'lumetta mdfind' "
           "and\n"
           "'lumetta smart show' see it at once. Ctrl-C stops between portions of a large selection; every\n"
           "message is then either changed or untouched.\n\n"
           "Examples:\n"
           "  lumetta tag 12 15 --add-keyword Invoice\n"
           "  lumetta tag --in INBOX --project Apollo --priority 3\n"
           "  lumetta tag --where keyword=Work 'priority>2' --due 2026-11-22\n"
           "  lumetta tag --smart Overdue --move-due 7 --use-today\n"
           "  lumetta tag 12 --note 'Called on $date. ' --before\n"
           "  lumetta tag --in Archive --clear-all\n";
}

} // namespace mailhost
