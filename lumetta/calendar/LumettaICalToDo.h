#pragma once

#include "platform/appleevents/AppleEvent.h"
#include "platform/foundation/Array.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Value.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace lumetta {

// The plug-in's one line to the calendar application ("com.apple.iCal"): one object per
// calendar to-do, known by its UID. It creates the to-do from a property dictionary (see
// ICalEventBuilder::makeToDo for the keys), reads its properties, changes one at a time,
// deletes and shows it, and lists the to-dos changed since a date that point at message
// files. It knows nothing of messages or tags.
//
// Every public method does its work on the main thread; called from another thread it
// waits for it there. Waiting sends block for up to the event timeout. Failures are never
// reported to the caller: they show as an absent result or no effect, and the calendar's
// own error texts are logged. A to-do that can no longer be found makes every change, show
// and delete do nothing.
//
// An object lives for one operation: make it, use it, drop it. Its reference to the to-do
// and its cached properties are only as fresh as the last fetch.
class LumettaICalToDo {
public:
    using AEDesc = platform::appleevents::AEDesc;
    using AppleEvent = platform::appleevents::AppleEvent;

    LumettaICalToDo() = default;
    explicit LumettaICalToDo(std::optional<std::string> iCalUID) : iCalUID_(std::move(iCalUID)) {}
    LumettaICalToDo(const LumettaICalToDo&) = delete;
    LumettaICalToDo& operator=(const LumettaICalToDo&) = delete;

    // Creates the to-do; afterwards UID() is the new one (absent when creation failed).
    // Absent properties create nothing.
    void createToDoInICalUsingDictionary(const std::optional<platform::Dictionary>& properties);
    void deleteICalEvent();
    // An empty title or description clears it; absent changes nothing.
    void setTitle(const std::optional<std::string>& title);
    void setPriority(int priority);
    // Points the to-do at `url`. Unlike the other changes this does not start the
    // calendar first: it follows every write of a linked message's file.
    void setURL(const std::optional<std::string>& url);
    void setDescription(const std::optional<std::string>& description);
    // Moves the to-do to another calendar; it gets a new UID.
    void setCalendar(const std::optional<std::string>& calendar);
    // Non-zero completes the to-do now; zero takes the completion away (a new UID).
    void setCompleteStateTo(const platform::Value& state);
    // A date sets the due date; none takes it away (a new UID, when there was one).
    void setDueDate(const std::optional<platform::Date>& dueDate);
    void setDisplayAlarm(const platform::Date& alarm);
    // The to-do's properties, fetched on the first call only; absent when the to-do
    // cannot be found or the calendar does not answer.
    std::optional<platform::Dictionary> properties();
    void viewToDoInICal();

    const std::optional<std::string>& UID() const { return iCalUID_; }
    // The message identifiers the last successful modified-since query found.
    const std::optional<platform::Array>& msgsToUpdate() const { return performResult_; }

    // Starts the calendar in the background unless it runs.
    static void launchICal();

    // The modified-since query of the refresh (not marshalled: the refresh runs it on
    // the main thread). Keeps the previous result when the query fails.
    void _fetchToDosModifiedSince(const platform::Date& since);

    // How long a waiting send waits, in ticks of 1/60 s (default: the event manager's
    // default timeout, about a minute). Process-wide; tests shorten it.
    static void setEventTimeout(long ticks) { eventTimeout_.store(ticks); }
    static long eventTimeout() { return eventTimeout_.load(); }
    // How many events, process-wide, reached no calendar or got no answer in time (not
    // the answers that report an error). A refresh watches it to stop as soon as the
    // calendar goes quiet, rather than wait out a timeout for every message left.
    static std::uint64_t unansweredEvents() { return unanswered_.load(); }

    // Runs `work` on the main thread, at once when called there, else waiting for it
    // (also at once when no main run loop exists).
    static void onMainThread(const std::function<void()>& work);

private:
    // A waiting send: the reply, or nothing when the exchange failed.
    static std::optional<AppleEvent> query(const AppleEvent& event);
    // A send that does not wait for an answer.
    static void command(const AppleEvent& event);

    void _fetchICalToDoReferenceForUID(const std::optional<std::string>& uid);
    // The start of every change to an existing to-do: the reference, found by UID when
    // none is stored; nothing when there is no to-do to change.
    std::optional<AEDesc> existingToDo();

    std::optional<std::string>
    _createToDoInICalUsingDictionary(const std::optional<platform::Dictionary>& values);
    bool _hasCalendarWithName(const std::optional<std::string>& name);
    bool _createCalendarWithName(const std::optional<std::string>& name);
    void _deleteICalEventWithUID(const std::optional<std::string>& uid);
    void _setStringValue(const std::optional<std::string>& value, platform::appleevents::OSType property);
    void _setPriority(const platform::Value& priority);
    void _setCompleteStateTo(const platform::Value& state);
    void _setDueDate(const std::optional<platform::Date>& dueDate);
    void _setCalendar(const std::optional<std::string>& calendar);
    void _setAlarm(const platform::Date& alarm);
    std::optional<platform::Dictionary> _getPropertiesOfICalToDo();
    void _viewToDoInICal();
    // Makes a new to-do from `values` and deletes the old one; the new UID replaces the
    // old (absent when the new to-do could not be made, and then the old one stays).
    void recreate(const platform::Dictionary& values);

    std::optional<AEDesc> fetchedToDoReference_;
    std::optional<platform::Array> performResult_;
    std::optional<platform::Dictionary> toDoProperties_;
    std::optional<std::string> iCalUID_;

    static inline std::atomic<long> eventTimeout_{-1};
    static inline std::atomic<std::uint64_t> unanswered_{0};
};

} // namespace lumetta
