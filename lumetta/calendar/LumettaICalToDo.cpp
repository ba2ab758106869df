#include "lumetta/calendar/LumettaICalToDo.h"

#include "lumetta/calendar/ICalCodes.h"
#include "lumetta/calendar/ICalEventBuilder.h"
#include "lumetta/calendar/ICalPriority.h"
#include "lumetta/calendar/ICalReplyDecoder.h"
#include "lumetta/calendar/ICalText.h"
#include "lumetta/core/DebugLogging.h"
#include "platform/appleevents/AESend.h"
#include "platform/appleevents/OSType.h"
#include "platform/appleevents/Workspace.h"
#include "platform/foundation/Format.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/RunLoop.h"
#include "platform/foundation/UserDefaults.h"

#include <chrono>

namespace lumetta {

using namespace platform::appleevents;
using platform::Array;
using platform::Dictionary;
using platform::Log;
using platform::Value;

namespace {

constexpr AESendMode kQueryMode = kAEWaitReply | kAENeverInteract; // 0x13
constexpr AESendMode kCommandMode = kAENoReply | kAENeverInteract; // 0x11

std::string eventName(const AppleEvent& event) {
    return osTypeString(event.eventClass()) + "/" + osTypeString(event.eventID());
}

// The calendar's own words for what went wrong, for the log.
Value errorText(const AppleEvent& reply) {
    const auto text = reply.errorString();
    return text ? Value(*text) : Value();
}

bool hasError(const AppleEvent& reply) {
    return reply.param(keyErrorNumber) != nullptr;
}

std::int64_t steadyNow() {
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

// What a failed exchange means for the user.
std::string silence(OSStatus status) {
    switch (status) {
    case errAETimeout:
        return "the calendar application did not answer in time (is it stopped or stuck?)";
    case procNotFound:
        return "the calendar application is not running";
    case connectionInvalid:
        return "the calendar application went away before answering";
    default:
        return "the calendar application could not be reached (status " + std::to_string(status) + ")";
    }
}

} // namespace

// -- Sending ------------------------------------------------------------------------------

void LumettaICalToDo::onMainThread(const std::function<void()>& work) {
    platform::RunLoop* loop = platform::RunLoop::main();
    if (!loop || loop->isMainThread())
        work();
    else
        loop->performOnMainThread(work, true);
}

void LumettaICalToDo::beginCall() {
    trouble_.reset();
    gone_ = false;
}

void LumettaICalToDo::withCalendar(const std::function<void()>& work) {
    onMainThread([&] {
        beginCall();
        launchICal();
        work();
    });
}

std::optional<AppleEvent> LumettaICalToDo::query(const AppleEvent& event) {
    // A calendar that just let a send run out of time is not waited for again: a refresh
    // over many messages would otherwise wait a timeout for each of them.
    if (steadyNow() < quietUntil_.load()) {
        ++unanswered_;
        trouble_ = "the calendar application stopped answering moments ago (is it stopped or stuck?)";
        return std::nullopt;
    }
    AppleEvent reply;
    const OSStatus status = AESendMessage(event, &reply, kQueryMode, eventTimeout());
    if (status != noErr) {
        ++unanswered_;
        if (status == errAETimeout)
            quietUntil_.store(
                steadyNow() +
                std::chrono::duration_cast<std::chrono::steady_clock::duration>(kQuietPeriod).count());
        trouble_ = silence(status);
        debugLog(0, "Lumetta: the calendar did not answer %@: %d", {eventName(event), status});
        return std::nullopt;
    }
    return reply;
}

std::optional<AppleEvent> LumettaICalToDo::confirmedQuery(const AppleEvent& event) {
    auto reply = query(event);
    if (!reply)
        return std::nullopt;
    if (ICalReplyDecoder::saysNoSuchObject(*reply)) {
        gone_ = true;
        return std::nullopt;
    }
    if (const auto error = ICalReplyDecoder::errorOf(*reply)) {
        trouble_ = "the calendar application answered: " + *error;
        return std::nullopt;
    }
    return reply;
}

void LumettaICalToDo::command(const AppleEvent& event) {
    if (const OSStatus status = AESendMessage(event, nullptr, kCommandMode, eventTimeout());
        status != noErr) {
        ++unanswered_;
        trouble_ = silence(status);
        debugLog(0, "Lumetta: the calendar did not take %@: %d", {eventName(event), status});
    }
}

void LumettaICalToDo::launchICal() {
    Workspace& workspace = Workspace::sharedWorkspace();
    const Array running = workspace.launchedApplications();
    for (const Value& application : running.items())
        if (const Dictionary* entry = application.dictionary();
            entry &&
            entry->get("NSApplicationBundleIdentifier").stringValue() == ICalCodes::kBundleIdentifier)
            return;
    auto launched = workspace.launchAppWithBundleIdentifier(
        ICalCodes::kBundleIdentifier, NSWorkspaceLaunchWithoutActivation, nullptr, nullptr);
    if (!launched)
        Log::line("Lumetta: cannot start the calendar application: " + launched.error().message);
}

// -- Public methods: each on the main thread --------------------------------------------

void LumettaICalToDo::createToDoInICalUsingDictionary(const std::optional<Dictionary>& properties) {
    withCalendar([&] { _createToDoInICalUsingDictionary(properties); });
}

bool LumettaICalToDo::deleteICalEvent() {
    bool done = false;
    withCalendar([&] { done = _deleteICalEventWithUID(iCalUID_); });
    return done;
}

void LumettaICalToDo::setTitle(const std::optional<std::string>& title) {
    withCalendar([&] { _setStringValue(title, ICalCodes::pSummary); });
}

void LumettaICalToDo::setPriority(int priority) {
    withCalendar([&] { _setPriority(Value(priority)); });
}

void LumettaICalToDo::setURL(const std::optional<std::string>& url) {
    onMainThread([&] {
        beginCall();
        _setStringValue(url ? std::optional<std::string>(ICalText::escapedURL(*url)) : std::nullopt,
                        ICalCodes::pUrl);
    });
}

void LumettaICalToDo::setDescription(const std::optional<std::string>& description) {
    withCalendar([&] { _setStringValue(description, ICalCodes::pNotes); });
}

void LumettaICalToDo::setCalendar(const std::optional<std::string>& calendar) {
    withCalendar([&] { _setCalendar(calendar); });
}

void LumettaICalToDo::setCompleteStateTo(const Value& state) {
    withCalendar([&] { _setCompleteStateTo(state); });
}

void LumettaICalToDo::setDueDate(const std::optional<platform::Date>& dueDate) {
    withCalendar([&] { _setDueDate(dueDate); });
}

void LumettaICalToDo::setDisplayAlarm(const platform::Date& alarm) {
    withCalendar([&] { _setAlarm(alarm); });
}

std::optional<Dictionary> LumettaICalToDo::properties() {
    onMainThread([&] {
        if (!toDoProperties_) {
            beginCall();
            _getPropertiesOfICalToDo();
        }
    });
    return toDoProperties_;
}

void LumettaICalToDo::viewToDoInICal() {
    withCalendar([&] { _viewToDoInICal(); });
}

// -- Workers -------------------------------------------------------------------------------

void LumettaICalToDo::_fetchICalToDoReferenceForUID(const std::optional<std::string>& uid) {
    if (!uid)
        return;
    fetchedToDoReference_.reset();
    gone_ = false;
    launchICal();
    const auto reply = query(ICalEventBuilder::findToDoByUID(*uid));
    if (!reply)
        return;
    if (const auto error = ICalReplyDecoder::errorOf(*reply)) {
        trouble_ = "the calendar application answered: " + *error;
        return;
    }
    fetchedToDoReference_ = ICalReplyDecoder::firstObject(*reply);
    // Only a list of nothing says the to-do is not there; an answer of another shape
    // says nothing, and a message must not lose its link over it.
    if (!fetchedToDoReference_ && ICalReplyDecoder::listsNothing(*reply))
        gone_ = true;
    else if (!fetchedToDoReference_)
        trouble_ = "the calendar application's answer to a search by UID lists no to-do";
}

std::optional<AEDesc> LumettaICalToDo::existingToDo() {
    if (!fetchedToDoReference_) {
        if (!iCalUID_)
            return std::nullopt;
        _fetchICalToDoReferenceForUID(iCalUID_);
        if (!fetchedToDoReference_)
            return std::nullopt;
    }
    if (fetchedToDoReference_->descriptorType() != typeObjectSpecifier) {
        trouble_ = "the calendar application gave no reference to the to-do";
        return std::nullopt;
    }
    return fetchedToDoReference_;
}

std::optional<std::string>
LumettaICalToDo::_createToDoInICalUsingDictionary(const std::optional<Dictionary>& values) {
    if (!values)
        return std::nullopt;
    Value calendar = values->get("calendar");
    if (const Array* names = calendar.array())
        calendar = names->first();
    if (calendar.isNull())
        calendar = platform::UserDefaults::standard().valueForKey("lumettaDefaultCalendar");
    const std::optional<std::string> name =
        calendar.string() ? std::optional<std::string>(*calendar.string()) : std::nullopt;
    if (!_hasCalendarWithName(name) && !_createCalendarWithName(name))
        return std::nullopt;

    const auto made = query(ICalEventBuilder::makeToDo(*name, *values));
    if (!made)
        return std::nullopt;
    if (hasError(*made)) {
        Log::line(platform::format("Error: %@", {errorText(*made)}));
        return std::nullopt;
    }
    const AEDesc* toDo = made->directObject();
    fetchedToDoReference_ = toDo ? *toDo : AEDesc::null();
    const auto uid = query(ICalEventBuilder::getProperty(ICalCodes::pUid, *fetchedToDoReference_));
    if (!uid)
        return std::nullopt;
    iCalUID_ = ICalReplyDecoder::directString(*uid);
    return iCalUID_;
}

bool LumettaICalToDo::_hasCalendarWithName(const std::optional<std::string>& name) {
    if (!name)
        return false;
    const auto reply = query(ICalEventBuilder::findCalendarNamed(*name));
    return reply && ICalReplyDecoder::firstObject(*reply).has_value();
}

bool LumettaICalToDo::_createCalendarWithName(const std::optional<std::string>& name) {
    if (!name)
        return false;
    const auto reply = query(ICalEventBuilder::makeCalendar(*name));
    if (!reply)
        return false;
    if (hasError(*reply)) {
        Log::line(platform::format("Error: %@", {errorText(*reply)}));
        return false;
    }
    return true;
}

bool LumettaICalToDo::_deleteICalEventWithUID(const std::optional<std::string>& uid) {
    if (!uid)
        return true;
    _fetchICalToDoReferenceForUID(uid);
    bool done = gone_;
    // The delete waits for its answer: only the calendar's word makes the link go.
    if (!done && fetchedToDoReference_ && fetchedToDoReference_->descriptorType() == typeObjectSpecifier)
        done = confirmedQuery(ICalEventBuilder::deleteToDo(*fetchedToDoReference_)).has_value() || gone_;
    if (done)
        iCalUID_.reset();
    return done;
}

void LumettaICalToDo::_setStringValue(const std::optional<std::string>& value, OSType property) {
    if (!value)
        return;
    const auto toDo = existingToDo();
    if (!toDo)
        return;
    // The calendar takes "no value" for clearing a text, not empty text.
    AEDesc data = value->empty() ? AEDesc::null() : ICalText::descriptor(*value);
    const auto reply = query(ICalEventBuilder::setProperty(property, *toDo, std::move(data)));
    if (reply && hasError(*reply))
        Log::line(platform::format("Error on setting property: %@", {errorText(*reply)}));
}

void LumettaICalToDo::_setPriority(const Value& priority) {
    const auto toDo = existingToDo();
    if (!toDo)
        return;
    command(ICalEventBuilder::setProperty(ICalCodes::pPriority, *toDo,
                                          AEDesc::enumerated(ICalPriority::toCalendar(priority.intValue()))));
}

namespace {

// A set event for a date property; a date that cannot be expressed goes without a value.
AppleEvent setDate(OSType property, const AEDesc& toDo, const platform::Date& date) {
    auto ldt = AEDesc::longDateTime(date);
    AppleEvent event = ICalEventBuilder::setProperty(property, toDo, ldt ? ldt.value() : AEDesc::null());
    if (!ldt)
        event.removeParam(keyAEData);
    return event;
}

} // namespace

void LumettaICalToDo::_setDueDate(const std::optional<platform::Date>& dueDate) {
    const auto toDo = existingToDo();
    if (!toDo)
        return;
    if (dueDate) {
        command(setDate(ICalCodes::pDueDate, *toDo, *dueDate));
        return;
    }
    // The calendar cannot empty a due date: the to-do is made again without one.
    const auto current = _getPropertiesOfICalToDo();
    if (current && current->contains("dueDate")) {
        Dictionary without = current->mutableCopy();
        without.remove("dueDate");
        recreate(without);
    }
}

void LumettaICalToDo::_setCompleteStateTo(const Value& state) {
    const auto toDo = existingToDo();
    if (!toDo)
        return;
    if (state.intValue() != 0) {
        command(setDate(ICalCodes::pCompletionDate, *toDo, platform::Clock::now()));
        return;
    }
    const auto current = _getPropertiesOfICalToDo();
    if (current && current->contains("completionDate")) {
        Dictionary without = current->mutableCopy();
        without.remove("completionDate");
        recreate(without);
    }
}

void LumettaICalToDo::_setCalendar(const std::optional<std::string>& calendar) {
    if (!calendar)
        return;
    if (!existingToDo())
        return;
    const auto current = _getPropertiesOfICalToDo();
    if (!current) {
        // Nothing to make the to-do again from: the link is lost, as a failed creation loses it.
        iCalUID_.reset();
        return;
    }
    Dictionary moved = current->mutableCopy();
    moved.set("calendar", *calendar);
    recreate(moved);
}

void LumettaICalToDo::recreate(const Dictionary& values) {
    const std::optional<std::string> old = iCalUID_;
    const auto made = _createToDoInICalUsingDictionary(values);
    if (made)
        _deleteICalEventWithUID(old);
    iCalUID_ = made;
    // The stored reference is the old to-do's now; the next change finds the new one.
    fetchedToDoReference_.reset();
}

void LumettaICalToDo::_setAlarm(const platform::Date& alarm) {
    const auto toDo = existingToDo();
    if (!toDo)
        return;
    auto trigger = AEDesc::longDateTime(alarm);
    if (!trigger)
        return;
    const auto count = query(ICalEventBuilder::countDisplayAlarms(*toDo));
    if (count && ICalReplyDecoder::countsNoAlarm(*count))
        command(ICalEventBuilder::makeDisplayAlarm(*toDo, std::move(trigger.value())));
    else
        (void)query(ICalEventBuilder::moveFirstDisplayAlarm(*toDo, std::move(trigger.value())));
}

std::optional<Dictionary> LumettaICalToDo::_getPropertiesOfICalToDo() {
    const auto toDo = existingToDo();
    if (!toDo)
        return std::nullopt;
    const auto all = confirmedQuery(ICalEventBuilder::getAllProperties(*toDo));
    if (!all)
        return std::nullopt;
    auto properties = ICalReplyDecoder::toDoProperties(*all);
    if (!properties) {
        trouble_ = "the calendar application's answer holds no properties of the to-do";
        return std::nullopt;
    }
    if (const auto calendar = query(ICalEventBuilder::getCalendarName(*toDo)))
        if (auto name = ICalReplyDecoder::directString(*calendar))
            properties->set("calendar", *name);
    toDoProperties_ = properties;
    return properties;
}

void LumettaICalToDo::_viewToDoInICal() {
    const auto toDo = existingToDo();
    if (!toDo)
        return;
    command(ICalEventBuilder::show(*toDo));
    command(ICalEventBuilder::activate());
}

bool LumettaICalToDo::_fetchToDosModifiedSince(const platform::Date& since) {
    beginCall();
    launchICal();
    auto stamp = AEDesc::longDateTime(since);
    if (!stamp) {
        trouble_ = "the date of the last refresh cannot be sent to the calendar";
        return false;
    }
    const auto reply = confirmedQuery(ICalEventBuilder::toDosModifiedSince(std::move(stamp.value())));
    if (!reply) {
        if (gone_)
            trouble_ = "the calendar application has no calendars to list to-dos from";
        return false;
    }
    const std::uint64_t quietBefore = unansweredEvents();
    Array identifiers;
    for (const AEDesc& toDo : ICalReplyDecoder::listedToDos(*reply)) {
        const auto url = query(ICalEventBuilder::getProperty(ICalCodes::pUrl, toDo));
        // A calendar gone quiet part-way would leave a list that looks whole but is not.
        if (unansweredEvents() != quietBefore)
            return false;
        // A to-do whose url cannot be read names no message.
        if (auto text = url ? ICalReplyDecoder::directString(*url) : std::nullopt)
            identifiers.add(ICalReplyDecoder::messageIdentifier(*text));
    }
    trouble_.reset(); // a url the calendar would not give is no failure of the list
    performResult_ = identifiers;
    return true;
}

} // namespace lumetta
