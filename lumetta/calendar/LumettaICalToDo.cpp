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

} // namespace

// -- Sending ------------------------------------------------------------------------------

void LumettaICalToDo::onMainThread(const std::function<void()>& work) {
    platform::RunLoop* loop = platform::RunLoop::main();
    if (!loop || loop->isMainThread())
        work();
    else
        loop->performOnMainThread(work, true);
}

std::optional<AppleEvent> LumettaICalToDo::query(const AppleEvent& event) {
    AppleEvent reply;
    const OSStatus status = AESendMessage(event, &reply, kQueryMode, eventTimeout());
    if (status != noErr) {
        ++unanswered_;
        debugLog(0, "Lumetta: the calendar did not answer %@: %d", {eventName(event), status});
        return std::nullopt;
    }
    return reply;
}

void LumettaICalToDo::command(const AppleEvent& event) {
    if (const OSStatus status = AESendMessage(event, nullptr, kCommandMode, eventTimeout());
        status != noErr) {
        ++unanswered_;
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
    onMainThread([&] {
        launchICal();
        _createToDoInICalUsingDictionary(properties);
    });
}

void LumettaICalToDo::deleteICalEvent() {
    onMainThread([&] {
        launchICal();
        _deleteICalEventWithUID(iCalUID_);
    });
}

void LumettaICalToDo::setTitle(const std::optional<std::string>& title) {
    onMainThread([&] {
        launchICal();
        _setStringValue(title, ICalCodes::pSummary);
    });
}

void LumettaICalToDo::setPriority(int priority) {
    onMainThread([&] {
        launchICal();
        _setPriority(Value(priority));
    });
}

void LumettaICalToDo::setURL(const std::optional<std::string>& url) {
    onMainThread([&] {
        _setStringValue(url ? std::optional<std::string>(ICalText::escapedURL(*url)) : std::nullopt,
                        ICalCodes::pUrl);
    });
}

void LumettaICalToDo::setDescription(const std::optional<std::string>& description) {
    onMainThread([&] {
        launchICal();
        _setStringValue(description, ICalCodes::pNotes);
    });
}

void LumettaICalToDo::setCalendar(const std::optional<std::string>& calendar) {
    onMainThread([&] {
        launchICal();
        _setCalendar(calendar);
    });
}

void LumettaICalToDo::setCompleteStateTo(const Value& state) {
    onMainThread([&] {
        launchICal();
        _setCompleteStateTo(state);
    });
}

void LumettaICalToDo::setDueDate(const std::optional<platform::Date>& dueDate) {
    onMainThread([&] {
        launchICal();
        _setDueDate(dueDate);
    });
}

void LumettaICalToDo::setDisplayAlarm(const platform::Date& alarm) {
    onMainThread([&] {
        launchICal();
        _setAlarm(alarm);
    });
}

std::optional<Dictionary> LumettaICalToDo::properties() {
    onMainThread([&] {
        if (!toDoProperties_)
            _getPropertiesOfICalToDo();
    });
    return toDoProperties_;
}

void LumettaICalToDo::viewToDoInICal() {
    onMainThread([&] {
        launchICal();
        _viewToDoInICal();
    });
}

// -- Workers -------------------------------------------------------------------------------

void LumettaICalToDo::_fetchICalToDoReferenceForUID(const std::optional<std::string>& uid) {
    if (!uid)
        return;
    fetchedToDoReference_.reset();
    launchICal();
    if (auto reply = query(ICalEventBuilder::findToDoByUID(*uid)))
        fetchedToDoReference_ = ICalReplyDecoder::firstObject(*reply);
}

std::optional<AEDesc> LumettaICalToDo::existingToDo() {
    if (!fetchedToDoReference_) {
        if (!iCalUID_)
            return std::nullopt;
        _fetchICalToDoReferenceForUID(iCalUID_);
        if (!fetchedToDoReference_)
            return std::nullopt;
    }
    if (fetchedToDoReference_->descriptorType() != typeObjectSpecifier)
        return std::nullopt;
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

void LumettaICalToDo::_deleteICalEventWithUID(const std::optional<std::string>& uid) {
    if (!uid)
        return;
    _fetchICalToDoReferenceForUID(uid);
    if (fetchedToDoReference_ && fetchedToDoReference_->descriptorType() == typeObjectSpecifier) {
        command(ICalEventBuilder::deleteToDo(*fetchedToDoReference_));
        iCalUID_.reset();
    }
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
    const auto all = query(ICalEventBuilder::getAllProperties(*toDo));
    if (!all)
        return std::nullopt;
    auto properties = ICalReplyDecoder::toDoProperties(*all);
    if (!properties)
        return std::nullopt;
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

void LumettaICalToDo::_fetchToDosModifiedSince(const platform::Date& since) {
    launchICal();
    auto stamp = AEDesc::longDateTime(since);
    if (!stamp)
        return;
    const auto reply = query(ICalEventBuilder::toDosModifiedSince(std::move(stamp.value())));
    if (!reply)
        return;
    Array identifiers;
    for (const AEDesc& toDo : ICalReplyDecoder::listedToDos(*reply)) {
        const auto url = query(ICalEventBuilder::getProperty(ICalCodes::pUrl, toDo));
        // A to-do whose url cannot be read names no message.
        if (auto text = url ? ICalReplyDecoder::directString(*url) : std::nullopt)
            identifiers.add(ICalReplyDecoder::messageIdentifier(*text));
    }
    performResult_ = identifiers;
}

} // namespace lumetta
