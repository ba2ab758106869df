#include "lumetta/calendar/ICalRefreshPass.h"

#include "lumetta/calendar/ICalCodes.h"
#include "lumetta/calendar/MessageCalendarCategory.h"
#include "lumetta/store/MessageTags.h"
#include "lumetta/store/TagKeys.h"
#include "mailhost/mail/Library.h"
#include "platform/appleevents/Workspace.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/UserDefaults.h"

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
    if (!defaults.boolForKey("lumettaRefreshFromICal")) {
        summary.set("reason", "refreshing from the calendar is off (lumettaRefreshFromICal)");
        return summary;
    }
    if (!calendarRunning() && !defaults.boolForKey("lumettaOpenICalToRefresh")) {
        summary.set("reason", "the calendar application is not running (lumettaOpenICalToRefresh is off)");
        return summary;
    }

    // The first pass looks at every linked to-do.
    const Value last = defaults.valueForKey("lumettaLastICalRefreshDate");
    const platform::Date since = last.date() ? *last.date() : platform::Date{};
    LumettaICalToDo::onMainThread([&] { refresher._fetchToDosModifiedSince(since); });

    Array changes;
    long long listed = 0, found = 0;
    if (const auto& identifiers = refresher.msgsToUpdate()) {
        for (const Value& identifier : identifiers->items()) {
            ++listed;
            const std::int64_t row = identifier.integerValue();
            const auto message = mailhost::Library::messageWithLibraryID(nullptr, row);
            if (!message)
                continue;
            ++found;
            const Dictionary before = tagsOf(*message);
            platform::runtime::sendVoid(static_cast<platform::runtime::Object*>(message.get()),
                                        CalendarSelectors::kRefreshFromICal);
            addChanges(changes, row, before, tagsOf(*message));
        }
    }

    defaults.setObject(platform::Clock::now(), "lumettaLastICalRefreshDate");
    if (auto saved = defaults.synchronize(); !saved)
        platform::Log::line("Lumetta: settings not saved: " + saved.error().message);
    summary.set("asked", true);
    summary.set("since", since);
    summary.set("listed", listed);
    summary.set("found", found);
    summary.set("changes", changes);
    return summary;
}

} // namespace lumetta
