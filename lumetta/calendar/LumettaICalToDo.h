#pragma once

#include "platform/appleevents/AppleEvent.h"
#include "platform/foundation/Array.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Value.h"

#include <atomic>
#include <chrono>
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
// waits for it there. Waiting sends block for up to the event timeout, a few seconds, and
// once one has run out the calendar counts as quiet for a while: further waiting sends
// fail at once instead of waiting again. Failures show as an absent result or no effect,
// and the calendar's own error texts are logged. What decides about a message's link is
// told apart: isGone() when the calendar said the to-do is not there, trouble() when it
// could not be asked or its answer could not be read. A to-do that can no longer be found
// makes every change, show and delete do nothing.
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
    // True once the to-do is gone: deleted now, or found not to be there. False when the
    // calendar did not confirm it (see trouble()).
    bool deleteICalEvent();
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
    // cannot be found or read, or the calendar does not answer.
    std::optional<platform::Dictionary> properties();
    void viewToDoInICal();

    const std::optional<std::string>& UID() const { return iCalUID_; }
    // Whether the last lookup heard from the calendar that no to-do has the UID.
    bool isGone() const { return gone_; }
    // Why the last public call could not learn what it asked or do what it was told: no
    // answer in time, no calendar, or the calendar's own error (a to-do file it cannot
    // read). Empty after a call that went through, and when the to-do is gone.
    const std::optional<std::string>& trouble() const { return trouble_; }
    // The message identifiers the last successful modified-since query found.
    const std::optional<platform::Array>& msgsToUpdate() const { return performResult_; }

    // Starts the calendar in the background unless it runs.
    static void launchICal();

    // The modified-since query of the refresh (not marshalled: the refresh runs it on
    // the main thread). Keeps the previous result and returns false, with trouble(), when
    // the query or the reading of a url went unanswered or the calendar refused it.
    bool _fetchToDosModifiedSince(const platform::Date& since);

    // The calendar answers in milliseconds; one that has not answered in a few seconds is
    // stopped or stuck, and a refresh over many messages must give up in seconds.
    static constexpr long kDefaultEventTimeout = 5 * 60;
    // How long after a send ran out of time the calendar counts as quiet.
    static constexpr std::chrono::seconds kQuietPeriod{30};

    // How long a waiting send waits, in ticks of 1/60 s. Process-wide; tests shorten it.
    static void setEventTimeout(long ticks) { eventTimeout_.store(ticks); }
    static long eventTimeout() { return eventTimeout_.load(); }
    // How many events, process-wide, reached no calendar or got no answer in time (not
    // the answers that report an error). A refresh watches it to stop as soon as the
    // calendar goes quiet, rather than wait out a timeout for every message left.
    static std::uint64_t unansweredEvents() { return unanswered_.load(); }
    // Ends a quiet period early: each refresh pass gives the calendar a fresh chance.
    static void expectAnswers() { quietUntil_.store(0); }

    // Runs `work` on the main thread, at once when called there, else waiting for it
    // (also at once when no main run loop exists).
    static void onMainThread(const std::function<void()>& work);

private:
    // A waiting send: the reply, or nothing (and trouble()) when the exchange failed.
    std::optional<AppleEvent> query(const AppleEvent& event);
    // A waiting send whose reply must carry no error: false (and trouble()) otherwise.
    // The error "no such object" sets isGone() instead.
    std::optional<AppleEvent> confirmedQuery(const AppleEvent& event);
    // A send that does not wait for an answer.
    void command(const AppleEvent& event);
    // Forgets what the previous public call learnt of the calendar's state.
    void beginCall();
    // A public call's work: on the main thread, a fresh account of trouble, the calendar
    // started if it is not running.
    void withCalendar(const std::function<void()>& work);

    void _fetchICalToDoReferenceForUID(const std::optional<std::string>& uid);
    // The start of every change to an existing to-do: the reference, found by UID when
    // none is stored; nothing when there is no to-do to change.
    std::optional<AEDesc> existingToDo();

    std::optional<std::string>
    _createToDoInICalUsingDictionary(const std::optional<platform::Dictionary>& values);
    bool _hasCalendarWithName(const std::optional<std::string>& name);
    bool _createCalendarWithName(const std::optional<std::string>& name);
    bool _deleteICalEventWithUID(const std::optional<std::string>& uid);
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
    std::optional<std::string> trouble_;
    bool gone_ = false;

    static inline std::atomic<long> eventTimeout_{kDefaultEventTimeout};
    static inline std::atomic<std::uint64_t> unanswered_{0};
    // steady_clock ticks until which waiting sends fail at once; 0 for none.
    static inline std::atomic<std::int64_t> quietUntil_{0};
};

} // namespace lumetta
