#include "mailhost/cli/TodoCommands.h"

#include "mailhost/bundle/BundleLoader.h"
#include "mailhost/cli/Json.h"
#include "mailhost/cli/MessageListing.h"
#include "mailhost/cli/ValueOutput.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/LibraryMessage.h"
#include "platform/foundation/HeadlessRunLoop.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Send.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <csignal>
#include <ctime>
#include <pthread.h>
#include <thread>

namespace mailhost {

using platform::Dictionary;
using platform::Value;
using Object = platform::runtime::Object;

namespace {

// The bundle's calendar operations, the stable interface between host and bundle:
//   on a message:  lumettaCreateNewICalToDoInCalendar:withTitle:date:priority:notes:
//                      Object*, Value calendar, Value title, Value date, Value priority, Value notes
//                  lumettaDeleteToDoInICalReportingProblem          Object* -> std::optional<std::string>
//                  lumettaViewToDoInICal                            Object*
//                  lumettaICalToDoProperties                        Object* -> std::optional<Dictionary>
//                  lumettaExtraDataForKey:                          Object*, std::string -> Value
//   on the bundle: refreshICalData, which posts LUToDosWereRefreshed (object nil) with its summary;
//                  lumettaSweepVanishedToDos                        Object* -> Dictionary
//                  lumettaRereadMessagesFromICal:                   Object*, Value rows -> Dictionary
constexpr const char* kCreateToDo = "lumettaCreateNewICalToDoInCalendar:withTitle:date:priority:notes:";
constexpr const char* kDeleteToDo = "lumettaDeleteToDoInICalReportingProblem";
constexpr const char* kViewToDo = "lumettaViewToDoInICal";
constexpr const char* kToDoProperties = "lumettaICalToDoProperties";
constexpr const char* kExtraDataForKey = "lumettaExtraDataForKey:";
constexpr const char* kRefresh = "refreshICalData";
constexpr const char* kSweep = "lumettaSweepVanishedToDos";
constexpr const char* kReread = "lumettaRereadMessagesFromICal:";
constexpr const char* kRefreshFinished = "LUToDosWereRefreshed";
constexpr const char* kLinkKey = "lumettaICalUID";

using Context = LibraryCommands::Context;

// The library message a command names, with the library it came from; its status when
// there is none or the bundle cannot work on it.
struct Target {
    std::unique_ptr<Library> library;
    std::shared_ptr<Message> message;
    Object* object() const { return message.get(); }
};

int findTarget(const Context& c, const std::string& id, Target& t) {
    if (const int status = LibraryCommands::findMessage(c, id, t.library, t.message))
        return status;
    if (!dynamic_cast<LibraryMessage*>(t.message.get())) {
        c.err << "lumetta: to-dos link library messages; import the file first (lumetta import " << id
              << ")\n";
        return 1;
    }
    if (!platform::runtime::respondsToSelector(t.object(), kCreateToDo)) {
        c.err << "lumetta: to-dos need the Lumetta bundle, which is not loaded\n";
        return 1;
    }
    return 0;
}

std::string linkOf(const Target& t) {
    return platform::runtime::send<Value>(t.object(), kExtraDataForKey, std::string(kLinkKey))
        .value_or(Value())
        .stringValue();
}

int requireLink(const Context& c, const std::string& id, const Target& t, std::string& uid) {
    uid = linkOf(t);
    if (!uid.empty())
        return 0;
    c.err << "lumetta: message " << id << " is not linked to a to-do (lumetta todo create " << id << ")\n";
    return 1;
}

// YYYY-MM-DD, optionally with a time of day (THH:MM or THH:MM:SS, a space for the T), in
// local time as a user typing a due date means it.
std::optional<platform::Date> parseLocalDate(const std::string& text) {
    for (const char* format :
         {"%Y-%m-%dT%H:%M:%S", "%Y-%m-%dT%H:%M", "%Y-%m-%d %H:%M:%S", "%Y-%m-%d %H:%M", "%Y-%m-%d"}) {
        std::tm tm{};
        const char* end = ::strptime(text.c_str(), format, &tm);
        if (!end || *end != '\0')
            continue;
        tm.tm_isdst = -1;
        const std::time_t local = std::mktime(&tm);
        if (local == static_cast<std::time_t>(-1))
            return std::nullopt;
        return platform::Date::fromUnix(static_cast<double>(local));
    }
    return std::nullopt;
}

// The principal object of the bundle that refreshes from the calendar.
Object* refreshingBundle(const BundleLoader& bundles, std::ostream& err) {
    for (const auto& loaded : bundles.loaded())
        if (loaded.principal && platform::runtime::respondsToSelector(loaded.principal.get(), kRefresh))
            return loaded.principal.get();
    err << "lumetta: refreshing from the calendar needs the Lumetta bundle, which is not loaded\n";
    return nullptr;
}

void printChanges(std::ostream& out, const Dictionary& summary) {
    const Value changes = summary.get("changes");
    const std::size_t count = changes.array() ? changes.array()->count() : 0;
    out << "refreshed: " << summary.get("listed").integerValue() << " to-dos listed, "
        << summary.get("found").integerValue() << " of their messages found, " << count
        << (count == 1 ? " tag changed" : " tags changed") << "\n";
    if (const long long left = summary.get("left").integerValue(); left > 0)
        out << "the calendar stopped answering: " << left << (left == 1 ? " message is" : " messages are")
            << " left for the next refresh\n";
    const Value sweepSummary = summary.get("sweep");
    const Dictionary* sweep = sweepSummary.dictionary();
    if (sweep && !sweep->get("asked").boolValue())
        out << "links to deleted to-dos not looked for: " << sweep->get("reason").stringValue() << "\n";
    if (const long long left = sweep ? sweep->get("left").integerValue() : 0; left > 0)
        out << "links to deleted to-dos not looked for on " << left << " more messages: the calendar "
            << "stopped answering\n";
    if (!changes.array())
        return;
    for (const Value& change : changes.array()->items()) {
        const Dictionary* d = change.dictionary();
        if (!d)
            continue;
        const auto shown = [&](const char* key) {
            return d->contains(key) ? ValueOutput::plain(d->get(key)) : std::string("(none)");
        };
        out << "  " << d->get("id").integerValue() << " " << d->get("key").stringValue() << ": "
            << shown("old") << " -> " << shown("new") << "\n";
    }
}

// What kept the calendar from settling the fate of each link, on standard error: the
// links all stay, and the user needs to know which and why.
bool reportTrouble(std::ostream& err, const Dictionary& summary) {
    bool any = false;
    if (const Value trouble = summary.get("trouble"); trouble.isString()) {
        err << "lumetta: " << trouble.stringValue() << "\n";
        any = true;
    }
    const Value problems = summary.get("problems");
    if (problems.array())
        for (const Value& entry : problems.array()->items())
            if (const Dictionary* problem = entry.dictionary()) {
                err << "lumetta: message " << problem->get("id").integerValue()
                    << " keeps its link: " << problem->get("problem").stringValue() << "\n";
                any = true;
            }
    const Value sweepSummary = summary.get("sweep");
    if (const Dictionary* sweep = sweepSummary.dictionary(); sweep && sweep->get("trouble").boolValue()) {
        err << "lumetta: " << sweep->get("reason").stringValue() << "\n";
        any = true;
    }
    return any;
}

// One pass's report: a summary, or why the calendar was not asked. Exits 1 when the
// calendar was not asked, or left anything undone.
int report(const Context& c, const Dictionary& summary) {
    if (c.json) {
        Json json;
        ValueOutput::writeJson(json, Value(summary));
        c.out << json.str() << "\n";
    } else if (summary.get("asked").boolValue()) {
        printChanges(c.out, summary);
    } else {
        c.out << "not refreshed: " << summary.get("reason").stringValue() << "\n";
    }
    c.out.flush();
    const bool troubled = reportTrouble(c.err, summary);
    const Value sweepSummary = summary.get("sweep");
    const Dictionary* sweep = sweepSummary.dictionary();
    const bool undone =
        summary.get("left").integerValue() > 0 || (sweep && sweep->get("left").integerValue() > 0);
    return summary.get("asked").boolValue() && !troubled && !undone ? 0 : 1;
}

} // namespace

TodoCommands::TodoCommands(CLI::App& app, bool& json) {
    auto* todo = app.add_subcommand("todo", "A message's linked calendar to-do");
    todo->require_subcommand(1);
    create_ = todo->add_subcommand("create", "Make a calendar to-do for a message and link it");
    create_->add_option("message", id_, "Message number")->required();
    title_ = create_->add_option("--title", titleText_, "The to-do's title (default: the message's subject)");
    calendar_ = create_->add_option("--calendar", calendarText_,
                                    "Calendar to put it in (default: the setting lumettaDefaultCalendar)");
    due_ = create_->add_option("--due", dueText_, "Due date, local time: 2026-11-22 or 2026-11-22T09:30");
    priority_ = create_->add_option("--priority", priorityValue_, "Priority 0 (none) to 5 (highest)");
    notes_ = create_->add_option("--notes", notesText_, "The to-do's notes");
    show_ = todo->add_subcommand("show", "The linked to-do's properties, as the calendar reports them");
    show_->add_option("message", id_, "Message number")->required();
    show_->add_flag("--json", json, "Print them as JSON");
    open_ = todo->add_subcommand("open", "Show the linked to-do in the calendar application");
    open_->add_option("message", id_, "Message number")->required();
    delete_ = todo->add_subcommand("delete", "Delete the linked to-do and the link");
    delete_->add_option("message", id_, "Message number")->required();

    refresh_ =
        app.add_subcommand("refresh", "Copy to-do changes from the calendar into the messages' tags, once, "
                                      "and unlink messages whose to-do was deleted");
    refresh_->add_option("messages", rereadIds_, "Messages to re-read as well, changed or not");
    refresh_->add_flag("--json", json, "Print the summary as JSON");
    watch_ = app.add_subcommand("watch", "Refresh from the calendar on the usual schedule until interrupted");
}

bool TodoCommands::chosen() const {
    return create_->parsed() || show_->parsed() || open_->parsed() || delete_->parsed() ||
           refresh_->parsed() || watch_->parsed();
}

int TodoCommands::run(const Context& c, const BundleLoader& bundles, platform::HeadlessRunLoop& loop) const {
    if (create_->parsed())
        return create(c);
    if (show_->parsed())
        return show(c);
    if (open_->parsed())
        return open(c);
    if (delete_->parsed())
        return remove(c);
    if (refresh_->parsed())
        return refresh(c, bundles);
    return watch(c, bundles, loop);
}

int TodoCommands::create(const Context& c) const {
    std::optional<platform::Date> due;
    if (due_->count() > 0 && !(due = parseLocalDate(dueText_))) {
        c.err << "lumetta: \"" << dueText_ << "\" is not a date (use 2026-11-22 or 2026-11-22T09:30)\n";
        return 2;
    }
    if (priority_->count() > 0 && (priorityValue_ < 0 || priorityValue_ > 5)) {
        c.err << "lumetta: priority " << priorityValue_ << " is not between 0 and 5\n";
        return 2;
    }
    Target t;
    if (const int status = findTarget(c, id_, t))
        return status;
    // A second to-do would leave the first one behind, linked to nothing.
    if (const std::string linked = linkOf(t); !linked.empty()) {
        c.err << "lumetta: message " << id_ << " is already linked to to-do " << linked
              << " (lumetta todo delete " << id_ << " first)\n";
        return 1;
    }
    const auto given = [](const CLI::Option* option, const std::string& text) {
        return option->count() > 0 ? Value(text) : Value();
    };
    const Value title = title_->count() > 0 ? Value(titleText_) : Value(t.message->subject());
    platform::runtime::sendVoid(
        t.object(), kCreateToDo, given(calendar_, calendarText_), title, due ? Value(*due) : Value(),
        priority_->count() > 0 ? Value(priorityValue_) : Value(), given(notes_, notesText_));
    const std::string uid = linkOf(t);
    if (uid.empty()) {
        c.err
            << "lumetta: the calendar did not make the to-do (is lumetta-calendar installed? see the system "
               "log)\n";
        return 1;
    }
    c.out << "created to-do " << uid << " for message " << id_ << "\n";
    return 0;
}

int TodoCommands::show(const Context& c) const {
    Target t;
    std::string uid;
    if (const int status = findTarget(c, id_, t); status || requireLink(c, id_, t, uid))
        return status ? status : 1;
    const auto properties = platform::runtime::send<std::optional<Dictionary>>(t.object(), kToDoProperties);
    if (!properties || !*properties) {
        c.err << "lumetta: the calendar has no to-do " << uid << " or does not answer\n";
        return 1;
    }
    const Dictionary& p = **properties;
    if (c.json) {
        Json json;
        ValueOutput::writeJson(json, Value(p));
        c.out << json.str() << "\n";
        return 0;
    }
    const std::pair<const char*, const char*> rows[] = {
        {"uid", "uid"},     {"summary", "title"},     {"calendar", "calendar"},
        {"dueDate", "due"}, {"priority", "priority"}, {"completionDate", "completed"},
        {"url", "url"},     {"description", "notes"}};
    for (const auto& [key, label] : rows)
        if (p.contains(key))
            c.out << label << ": " << ValueOutput::plain(p.get(key)) << "\n";
    return 0;
}

int TodoCommands::open(const Context& c) const {
    Target t;
    std::string uid;
    if (const int status = findTarget(c, id_, t); status || requireLink(c, id_, t, uid))
        return status ? status : 1;
    platform::runtime::sendVoid(t.object(), kViewToDo);
    c.out << "asked the calendar to show to-do " << uid << "\n";
    return 0;
}

int TodoCommands::remove(const Context& c) const {
    Target t;
    std::string uid;
    if (const int status = findTarget(c, id_, t); status || requireLink(c, id_, t, uid))
        return status ? status : 1;
    const auto problem = platform::runtime::send<std::optional<std::string>>(t.object(), kDeleteToDo);
    if (!problem) {
        c.err << "lumetta: the Lumetta bundle loaded cannot delete to-dos\n";
        return 1;
    }
    if (*problem) {
        c.err << "lumetta: to-do " << uid << " was not deleted, and message " << id_
              << " stays linked to it: " << **problem << "\n";
        return 1;
    }
    c.out << "deleted to-do " << uid << "; message " << id_ << " is no longer linked\n";
    return 0;
}

int TodoCommands::refresh(const Context& c, const BundleLoader& bundles) const {
    Object* bundle = refreshingBundle(bundles, c.err);
    auto library = bundle ? LibraryCommands::openLibrary(c) : nullptr;
    if (!library)
        return 1;
    // Every message named is found before anything changes.
    std::vector<Target> named(rereadIds_.size());
    for (std::size_t i = 0; i < rereadIds_.size(); ++i) {
        if (const int status = LibraryCommands::findMessage(c, rereadIds_[i], library, named[i].message))
            return status;
        if (!dynamic_cast<LibraryMessage*>(named[i].message.get())) {
            c.err << "lumetta: " << rereadIds_[i] << " is not a library message\n";
            return 2;
        }
    }
    std::optional<Dictionary> summary;
    auto& center = platform::NotificationCenter::defaultCenter();
    const auto token = center.addObserver(
        kRefreshFinished, nullptr, [&summary](const platform::Notification& n) { summary = n.userInfo; });
    platform::runtime::sendVoid(bundle, kRefresh);
    center.removeObserver(token);
    if (!summary) {
        c.err << "lumetta: the Lumetta bundle loaded did not report a refresh\n";
        return 1;
    }
    if (summary->get("asked").boolValue()) {
        platform::Array changes, problems;
        const auto add = [](platform::Array& to, const Value& more) {
            if (more.array())
                for (const Value& entry : more.array()->items())
                    to.add(entry);
        };
        add(changes, summary->get("changes"));
        add(problems, summary->get("problems"));
        if (!named.empty()) {
            platform::Array rows;
            for (const Target& t : named)
                rows.add(Value(
                    static_cast<long long>(static_cast<LibraryMessage*>(t.message.get())->libraryID())));
            const Dictionary reread =
                platform::runtime::send<Dictionary>(bundle, kReread, Value(rows)).value_or(Dictionary());
            add(changes, reread.get("changes"));
            add(problems, reread.get("problems"));
        }
        // A pass cannot see to-dos deleted in the calendar; asked for by hand, the refresh
        // also unlinks the messages that point at one.
        if (platform::runtime::respondsToSelector(bundle, kSweep)) {
            const Dictionary sweep =
                platform::runtime::send<Dictionary>(bundle, kSweep).value_or(Dictionary());
            add(changes, sweep.get("changes"));
            add(problems, sweep.get("problems"));
            summary->set("sweep", sweep);
        }
        summary->set("changes", changes);
        summary->set("problems", problems);
    }
    return report(c, *summary);
}

int TodoCommands::watch(const Context& c, const BundleLoader& bundles,
                        platform::HeadlessRunLoop& loop) const {
    Object* bundle = refreshingBundle(bundles, c.err);
    auto library = bundle ? LibraryCommands::openLibrary(c) : nullptr;
    if (!library)
        return 1;
    auto& center = platform::NotificationCenter::defaultCenter();
    const auto token = center.addObserver(kRefreshFinished, nullptr, [&c](const platform::Notification& n) {
        c.out << MessageListing::isoDate(platform::Clock::now().seconds) << " ";
        (void)report(c, n.userInfo);
    });
    // The bundle armed its refresh when it started; the loop runs it and every one after.
    const auto timers = loop.pendingTimerDelays();
    c.out << "watching the calendar for to-do changes";
    if (!timers.empty())
        c.out << "; first refresh in " << std::lround(timers.front()) << " s";
    c.out << " (Ctrl-C ends)" << std::endl;

    // Interruption ends the loop between passes, never inside one, so no write is cut short.
    sigset_t stopSignals, previous;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, &previous);
    std::thread waiter([&] {
        int signal = 0;
        sigwait(&stopSignals, &signal);
        loop.stop();
    });
    loop.run();
    waiter.join();
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    center.removeObserver(token);
    c.out << "stopped watching" << std::endl;
    return 0;
}

} // namespace mailhost
