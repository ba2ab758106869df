#include "lumetta/calendar/ICalRefreshPass.h"

#include "lumetta/calendar/ICalCodes.h"
#include "lumetta/calendar/MessageCalendarCategory.h"
#include "lumetta/store/MessageTags.h"
#include "lumetta/store/TagKeys.h"
#include "mailhost/mail/Library.h"
#include "platform/appleevents/Workspace.h"
#include "platform/foundation/Format.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/spotlight/MetadataStore.h"
#include "platform/spotlight/query/QueryEvaluator.h"

#include <charconv>
#include <filesystem>
#include <set>

namespace lumetta {

using platform::Array;
using platform::Dictionary;
using platform::UserDefaults;
using platform::Value;

namespace {

Dictionary tagsOf(mailhost::Message& message) {
    Dictionary tags;
    if (const auto record = MessageTags::lumettaExtraData(message))
        for (const auto& [key, value] : record->entries())
            if (TagKeys::isTagKey(key))
                tags.set(key, value);
    return tags;
}

void addChanges(Array& changes, std::int64_t row, const Dictionary& before, const Dictionary& after) {
    std::set<std::string> keys;
    for (const auto& [key, value] : before.entries())
        keys.insert(key);
    for (const auto& [key, value] : after.entries())
        keys.insert(key);
    for (const std::string& key : keys) {
        const Value old = before.get(key), now = after.get(key);
        if (old.isEqual(now))
            continue;
        Dictionary change{{"id", Value(static_cast<long long>(row))}, {"key", key}};
        change.set("old", old); // a null value leaves the key out
        change.set("new", now);
        changes.add(change);
    }
}

// Why the calendar is not to be asked now, or nothing when it is.
std::optional<std::string> whyNotAsked(UserDefaults& defaults) {
    if (!defaults.boolForKey("lumettaRefreshFromICal"))
        return "refreshing from the calendar is off (lumettaRefreshFromICal)";
    if (!ICalRefreshPass::calendarRunning() && !defaults.boolForKey("lumettaOpenICalToRefresh"))
        return "the calendar application is not running (lumettaOpenICalToRefresh is off)";
    return std::nullopt;
}

// Re-reads one message's to-do into its tags, noting what changed, or why its to-do
// could not be read (its link and tags then stay as they were).
void rereadOne(mailhost::Message& message, std::int64_t row, Array& changes, Array& problems) {
    const Dictionary before = tagsOf(message);
    const auto problem = platform::runtime::send<std::optional<std::string>>(
        static_cast<platform::runtime::Object*>(&message),
        CalendarSelectors::kRefreshFromICalReportingProblem);
    addChanges(changes, row, before, tagsOf(message));
    if (problem && *problem) {
        platform::Log::line(platform::format("Lumetta: message %@ keeps its link: %@",
                                             {Value(static_cast<long long>(row)), **problem}));
        problems.add(Dictionary{{"id", Value(static_cast<long long>(row))}, {"problem", **problem}});
    }
}

// A message file's library row: its file name without extension, as in a to-do's url.
std::optional<std::int64_t> rowOfFile(const std::string& path) {
    const std::string stem = std::filesystem::path(path).stem().string();
    std::int64_t row = 0;
    const auto [end, ec] = std::from_chars(stem.data(), stem.data() + stem.size(), row);
    if (ec != std::errc() || end != stem.data() + stem.size())
        return std::nullopt;
    return row;
}

} // namespace

bool ICalRefreshPass::calendarRunning() {
    const Array running = platform::appleevents::Workspace::sharedWorkspace().launchedApplications();
    for (const Value& application : running.items())
        if (const Dictionary* entry = application.dictionary();
            entry &&
            entry->get("NSApplicationBundleIdentifier").stringValue() == ICalCodes::kBundleIdentifier)
            return true;
    return false;
}

Dictionary ICalRefreshPass::run(LumettaICalToDo& refresher) {
    UserDefaults& defaults = UserDefaults::standard();
    Dictionary summary{{"asked", false}};
    if (const auto reason = whyNotAsked(defaults)) {
        summary.set("reason", *reason);
        return summary;
    }

    // The first pass looks at every linked to-do.
    const Value last = defaults.valueForKey("lumettaLastICalRefreshDate");
    const platform::Date since = last.date() ? *last.date() : platform::Date{};
    LumettaICalToDo::expectAnswers();
    bool listedNow = false;
    LumettaICalToDo::onMainThread([&] { listedNow = refresher._fetchToDosModifiedSince(since); });
    if (!listedNow)
        summary.set("trouble", "the calendar application did not list the changed to-dos: " +
                                   refresher.trouble().value_or("no reason given"));

    // A calendar that goes quiet mid-pass would cost every message left a whole timeout.
    // The pass stops after the first re-read that met silence (that message keeps its
    // link, as every message whose to-do could not be read does) and keeps the date of
    // the last refresh, so the next pass lists the rest again.
    const std::uint64_t quietBefore = LumettaICalToDo::unansweredEvents();
    Array changes, problems;
    long long listed = 0, found = 0, left = 0;
    if (const auto& identifiers = refresher.msgsToUpdate()) {
        for (const Value& identifier : identifiers->items()) {
            ++listed;
            if (LumettaICalToDo::unansweredEvents() != quietBefore) {
                ++left;
                continue;
            }
            const std::int64_t row = identifier.integerValue();
            const auto message = mailhost::Library::messageWithLibraryID(nullptr, row);
            if (!message)
                continue;
            ++found;
            rereadOne(*message, row, changes, problems);
        }
    }

    // A to-do that cannot be read does not hold the date back: its file changes when it is
    // mended, and the pass after that lists it again.
    if (left > 0 || !listedNow) {
        platform::Log::line(platform::format(
            "Lumetta: the calendar stopped answering; %@ messages are left for the next refresh",
            {Value(left)}));
    } else {
        defaults.setObject(platform::Clock::now(), "lumettaLastICalRefreshDate");
        if (auto saved = defaults.synchronize(); !saved)
            platform::Log::line("Lumetta: settings not saved: " + saved.error().message);
    }
    summary.set("asked", true);
    summary.set("since", since);
    summary.set("listed", listed);
    summary.set("found", found);
    summary.set("left", left);
    summary.set("changes", changes);
    summary.set("problems", problems);
    return summary;
}

Dictionary ICalRefreshPass::reread(const std::vector<std::int64_t>& rows) {
    Array changes, problems;
    for (const std::int64_t row : rows)
        if (const auto message = mailhost::Library::messageWithLibraryID(nullptr, row))
            rereadOne(*message, row, changes, problems);
    return Dictionary{{"changes", changes}, {"problems", problems}};
}

Dictionary ICalRefreshPass::sweepVanished() {
    Dictionary summary{{"asked", false}};
    if (const auto reason = whyNotAsked(UserDefaults::standard())) {
        summary.set("reason", *reason);
        return summary;
    }
    namespace md = platform::spotlight;
    md::MetadataStore* index = md::MetadataStore::current();
    if (index == nullptr) {
        summary.set("reason", "the metadata index is not open, so linked messages cannot be found");
        return summary;
    }
    auto linkedFiles = md::QueryEvaluator(*index).evaluate("lumettaICalUID == \"*\"cd");
    if (!linkedFiles) {
        summary.set("reason", "the metadata index cannot be searched: " + linkedFiles.error().message);
        return summary;
    }

    // Every to-do that points at a message file: the query of a pass since the beginning.
    LumettaICalToDo listing;
    LumettaICalToDo::onMainThread([&] { listing._fetchToDosModifiedSince(platform::Date{}); });
    if (!listing.msgsToUpdate()) {
        // Without the list every linked message would be re-read, each costing a look
        // at a calendar that does not answer.
        summary.set("reason", "the calendar application did not list its to-dos: " +
                                  listing.trouble().value_or("no reason given"));
        summary.set("trouble", true);
        return summary;
    }
    std::set<std::int64_t> listed;
    for (const Value& identifier : listing.msgsToUpdate()->items())
        listed.insert(identifier.integerValue());

    const std::uint64_t quietBefore = LumettaICalToDo::unansweredEvents();
    Array changes, problems;
    long long linked = 0, checked = 0, left = 0;
    for (const std::string& file : linkedFiles.value()) {
        if (LumettaICalToDo::unansweredEvents() != quietBefore) {
            ++left; // gone quiet: what is left waits for the next sweep
            continue;
        }
        const auto row = rowOfFile(file);
        if (!row)
            continue;
        const auto message = mailhost::Library::messageWithLibraryID(nullptr, *row);
        if (!message || mailhost::Library::dataPathForMessage(message.get()) != file)
            continue;
        ++linked;
        if (listed.contains(*row))
            continue;
        ++checked;
        rereadOne(*message, *row, changes, problems);
    }
    summary.set("asked", true);
    summary.set("linked", linked);
    summary.set("checked", checked);
    summary.set("left", left);
    summary.set("changes", changes);
    summary.set("problems", problems);
    return summary;
}

} // namespace lumetta
