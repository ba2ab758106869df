#include "mailhost/HostClasses.h"
#include "mailhost/bundle/BundleLoader.h"
#include "mailhost/cli/BuildReport.h"
#include "mailhost/cli/CalendarCommand.h"
#include "mailhost/cli/CriteriaCommandLine.h"
#include "mailhost/cli/DefaultsCommand.h"
#include "mailhost/cli/LibraryCommands.h"
#include "mailhost/cli/MetadataCommands.h"
#include "mailhost/cli/PreferenceCommandLine.h"
#include "mailhost/cli/RuleCommands.h"
#include "mailhost/cli/SaveFailures.h"
#include "mailhost/cli/TagCommandLine.h"
#include "mailhost/cli/TagCommands.h"
#include "mailhost/cli/TodoCommands.h"
#include "platform/foundation/HeadlessRunLoop.h"
#include "platform/foundation/UserDefaults.h"

#include <CLI/CLI.hpp>
#include <iostream>

namespace {

// Exit statuses: 0 success, 1 the work failed, 2 the command line was wrong.
constexpr int kUsage = 2;

} // namespace

int main(int argc, char** argv) {
    CLI::App app{"lumetta: the Lumetta mail client's command line"};
    app.set_version_flag("--version", mailhost::BuildReport::versionLine());
    app.require_subcommand(0, 1);

    std::string library = mailhost::LibraryCommands::defaultLibraryPath().string();
    bool json = false;
    app.add_option("--library", library,
                   "The mail library's folder (default $LUMETTA_LIBRARY or "
                   "$XDG_DATA_HOME/lumetta-mail/Mail)");
    app.add_flag("--json", json, "Print listings as JSON");
    // Every command that prints data takes --json after its name too, as the commands
    // with subcommands of their own do: `lumetta ls --json` as `lumetta --json ls`.
    const auto takesJson = [&json](CLI::App* command, const char* what) {
        command->add_flag("--json", json, what);
        return command;
    };

    std::string reportLibrary;
    auto* report = app.add_subcommand("report", "Show what is built and what it reads of a mail library");
    report->add_option("library", reportLibrary, "Root folder of the mail library")->required();

    auto* init = app.add_subcommand("init", "Make a new mail library with the standard mailboxes");
    auto* mailboxes = takesJson(
        app.add_subcommand("mailboxes", "List the mailboxes and their message counts"), "Print them as JSON");
    std::string mailbox;
    auto* ls = takesJson(app.add_subcommand("ls", "List the messages of one mailbox, or of all"),
                         "Print the messages as JSON");
    ls->add_option("mailbox", mailbox, "Mailbox name, e.g. INBOX or Projects/Apollo");
    std::string target;
    bool body = false;
    auto* show = takesJson(app.add_subcommand("show", "Show a message by number, or a loose .emlx file"),
                           "Print the message as JSON");
    show->add_option("message", target, "Message number or .emlx path")->required();
    show->add_flag("--body", body, "Print the message text too");
    std::string importBox = "INBOX";
    std::vector<std::string> paths;
    auto* import = app.add_subcommand("import", "Import .eml, .emlx, mbox or Maildir mail");
    import->add_option("--mailbox", importBox, "Mailbox to import into (made when missing)");
    import->add_option("paths", paths, "Files or folders to import")->required();
    bool noRules = false;
    import->add_flag("--no-rules", noRules, "Do not apply the library's rules to the new messages");
    std::vector<std::string> copyIds;
    std::string copyTo;
    auto* copy = takesJson(app.add_subcommand("copy", "Copy messages into another mailbox"),
                           "Print the copies as JSON");
    copy->add_option("ids", copyIds, "Message numbers")->required();
    copy->add_option("--to", copyTo, "Target mailbox")->required();
    std::string rebuildBox, stripId;
    auto* rebuild = app.add_subcommand("rebuild", "Re-read a mailbox's files into the index");
    rebuild->add_option("mailbox", rebuildBox, "Mailbox name")->required();
    auto* strip = takesJson(
        app.add_subcommand("strip-attachments", "Replace a message's attachments by a note naming them"),
        "Print the new message as JSON");
    strip->add_option("message", stripId, "Message number")->required();
    std::string adoptFolder, adoptName;
    auto* adopt =
        app.add_subcommand("adopt", "Take over a mail folder or a mailbox copied from another client");
    adopt
        ->add_option("folder", adoptFolder,
                     "A whole mail folder (becomes a library where it is) or one mailbox "
                     "folder (copied into the library)")
        ->required();
    adopt->add_option("--as", adoptName, "Name for an adopted mailbox (default: the folder's name)");
    std::vector<std::string> ids;
    bool markRead = false, markUnread = false, markFlagged = false, markUnflagged = false;
    auto* mark = app.add_subcommand("mark", "Mark messages read, unread, flagged or unflagged");
    mark->add_option("ids", ids, "Message numbers")->required();
    auto* how = mark->add_option_group("state")->require_option(1);
    how->add_flag("--read", markRead);
    how->add_flag("--unread", markUnread);
    how->add_flag("--flagged", markFlagged);
    how->add_flag("--unflagged", markUnflagged);

    std::string query;
    bool countOnly = false;
    auto* mdfind = app.add_subcommand("mdfind", "Find messages with a metadata query");
    mdfind->add_option("query", query, "e.g. 'kMDItemKeywords == \"Work\"cd && kMDItemStarRating > 2'")
        ->required();
    mdfind->add_flag("--count", countOnly, "Print only how many messages match");
    mdfind->add_flag("--json", json, "Print the messages as JSON");
    std::string mdTarget;
    auto* mdls = app.add_subcommand("mdls", "Show the metadata attributes of a message's file");
    mdls->add_option("message", mdTarget, "Message number or .emlx path")->required();
    mdls->add_flag("--json", json, "Print the attributes as JSON");
    auto* reindex = app.add_subcommand("reindex", "Rebuild the metadata index from the message files");

    auto* defaults = app.add_subcommand("defaults", "Read and change the mail client's settings");
    defaults->require_subcommand(1);
    std::string key;
    std::vector<std::string> words;
    auto* dRead = defaults->add_subcommand("read", "Print every setting, or the one named");
    dRead->add_option("key", key, "Setting name");
    auto* dWrite =
        defaults->add_subcommand("write", "Set a setting: KEY [-int|-bool|-string|-array] VALUE...");
    dWrite->add_option("key", key, "Setting name")->required();
    dWrite->add_option("value", words, "Type flag and value(s)")->required();
    dWrite->allow_extras(false);
    dWrite->prefix_command(false);
    auto* dDelete = defaults->add_subcommand("delete", "Remove a setting");
    dDelete->add_option("key", key, "Setting name")->required();

    auto* tags = app.add_subcommand("tags", "Show and change a message's Lumetta tags");
    tags->require_subcommand(1);
    std::vector<std::string> tagTargets;
    auto* tShow = tags->add_subcommand("show", "The tags of messages (by number) or loose .emlx files");
    tShow->add_option("messages", tagTargets, "Message numbers or .emlx paths")->required();
    tShow->add_flag("--json", json, "Print the tags as JSON");
    std::string tagId, tagKey, tagValue;
    bool asString = false, asInt = false, asDate = false, asArray = false;
    auto* tSet = tags->add_subcommand("set", "Set one tag of a message: ID KEY VALUE");
    tSet->add_option("message", tagId, "Message number")->required();
    tSet->add_option("key", tagKey, "Tag key, beginning with \"lumetta\"")->required();
    tSet->add_option("value", tagValue, "The value")->required();
    auto* valueType = tSet->add_option_group("type", "How VALUE is read (default --string)");
    valueType->add_flag("--string", asString, "Text");
    valueType->add_flag("--int", asInt, "A whole number");
    valueType->add_flag("--date", asDate, "An ISO 8601 date: 2026-11-22, 2026-11-22T09:30:00Z, ...+02:00");
    valueType->add_flag("--array", asArray, "Comma-separated items: a,b");
    valueType->require_option(0, 1);
    auto* tRemove = tags->add_subcommand("remove", "Remove one tag of a message");
    tRemove->add_option("message", tagId, "Message number")->required();
    tRemove->add_option("key", tagKey, "Tag key, beginning with \"lumetta\"")->required();
    mailhost::CriteriaCommandLine criteria(app, json);
    mailhost::RuleCommands rules(app, json);
    mailhost::TodoCommands todo(app, json);
    mailhost::TagCommandLine tagBulk(app);
    mailhost::PreferenceCommandLine preferences(app, json);
    mailhost::CalendarCommand calendar(app);

    try {
        // "-int" and friends are values here, not options.
        app.allow_extras(false);
        dWrite->positionals_at_end(true);
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int status = app.exit(e);
        return status == 0 ? 0 : kUsage;
    }

    // Every command runs with the bundles loaded, as the desktop client does.
    mailhost::registerHostClasses();
    platform::HeadlessRunLoop loop;
    platform::RunLoop::setMain(&loop);
    mailhost::BundleLoader loader(mailhost::BundleLoader::defaultSearchPaths());
    loader.loadAll();
    loop.runUntilIdle(); // work bundles deferred to the main thread at start-up

    int status = 0;
    auto& standard = platform::UserDefaults::standard();
    const mailhost::LibraryCommands::Context context{library, json, std::cout, std::cerr};
    if (*report) {
        std::cout << mailhost::BuildReport::describe(reportLibrary);
    } else if (*init) {
        status = mailhost::LibraryCommands::init(context);
    } else if (*mailboxes) {
        status = mailhost::LibraryCommands::mailboxes(context);
    } else if (*ls) {
        status = mailhost::LibraryCommands::list(context, mailbox);
    } else if (*show) {
        status = mailhost::LibraryCommands::show(context, target, body);
    } else if (*import) {
        status = mailhost::LibraryCommands::import(context, importBox, paths, !noRules);
    } else if (*copy) {
        status = mailhost::LibraryCommands::copy(context, copyIds, copyTo);
    } else if (*rebuild) {
        status = mailhost::LibraryCommands::rebuild(context, rebuildBox);
    } else if (*strip) {
        status = mailhost::LibraryCommands::stripAttachments(context, stripId);
    } else if (*adopt) {
        status = mailhost::LibraryCommands::adopt(context, adoptFolder, adoptName);
    } else if (*mark) {
        const char* state = markRead ? "read" : markUnread ? "unread" : markFlagged ? "flagged" : "unflagged";
        status = mailhost::LibraryCommands::mark(context, ids, state);
    } else if (*mdfind) {
        status = mailhost::MetadataCommands::mdfind(context, query, countOnly);
    } else if (*mdls) {
        status = mailhost::MetadataCommands::mdls(context, mdTarget);
    } else if (*reindex) {
        status = mailhost::MetadataCommands::reindex(context);
    } else if (*tShow) {
        status = mailhost::TagCommands::show(context, tagTargets);
    } else if (*tSet) {
        using Type = mailhost::TagCommands::ValueType;
        const Type type = asInt ? Type::Integer : asDate ? Type::Date : asArray ? Type::Array : Type::String;
        status = mailhost::TagCommands::set(context, tagId, tagKey, tagValue, type);
    } else if (*tRemove) {
        status = mailhost::TagCommands::remove(context, tagId, tagKey);
    } else if (criteria.chosen()) {
        status = criteria.run(context);
    } else if (rules.chosen()) {
        status = rules.run(context);
    } else if (todo.chosen()) {
        status = todo.run(context, loader, loop);
    } else if (tagBulk.chosen()) {
        status = tagBulk.run(context);
    } else if (preferences.chosen()) {
        status = preferences.run(context);
    } else if (calendar.chosen()) {
        status = calendar.run(std::cout, std::cerr);
    } else if (*dRead) {
        status = mailhost::DefaultsCommand::read(standard, key, std::cout, std::cerr);
    } else if (*dWrite) {
        status = mailhost::DefaultsCommand::write(standard, key, words, std::cerr);
    } else if (*dDelete) {
        status = mailhost::DefaultsCommand::remove(standard, key, std::cerr);
    } else {
        std::cout << app.help();
    }
    // Whatever a command saved and the library could not write is told, and fails it:
    // a change reported as done must be in the files.
    mailhost::SaveFailures unsaved;
    unsaved.collect();
    if (!unsaved.empty()) {
        unsaved.print(std::cerr);
        status = status ? status : 1;
    }
    if (auto r = standard.synchronize(); !r) {
        std::cerr << "lumetta: settings not saved: " << r.error().message << "\n";
        status = status ? status : 1;
    }
    platform::RunLoop::setMain(nullptr);
    return status;
}
