#include "lumetta/calendar/MessageCalendarCategory.h"

#include "lumetta/calendar/ICalAlarmTime.h"
#include "lumetta/calendar/LumettaICalToDo.h"
#include "lumetta/store/LibraryTagPersistence.h"
#include "lumetta/store/MessageTags.h"
#include "lumetta/store/TagKeys.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/LibraryMessage.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/runtime/Runtime.h"

namespace lumetta {

using mailhost::Message;
using platform::Dictionary;
using platform::UserDefaults;
using platform::Value;

namespace {

Message* asMessage(platform::runtime::Object* self) {
    return dynamic_cast<Message*>(self);
}

std::optional<std::string> linkedUID(Message& message) {
    const Value uid = MessageTags::lumettaExtraDataForKey(message, TagKeys::kICalUID);
    return uid.string() ? std::optional<std::string>(*uid.string()) : std::nullopt;
}

// What the user is told when the calendar could not settle a linked to-do's fate.
std::string problemWith(const std::optional<std::string>& uid, const LumettaICalToDo& toDo) {
    return "to-do " + uid.value_or("(none)") + ": " +
           toDo.trouble().value_or("the calendar application gave no usable answer");
}

// Seconds since the reference date of a date value; anything else counts as no date.
double secondsOf(const Value& value) {
    return value.date() ? value.date()->seconds : 0.0;
}

} // namespace

void MessageCalendarCategory::load() {
    platform::runtime::Class* cls = platform::runtime::Runtime::classNamed(Message::kClassName);
    if (!cls)
        return;
    LibraryTagPersistence::setToDoURLSetter(
        [](const std::string& uid, const std::string& url) { LumettaICalToDo(uid).setURL(url); });
    cls->addInstanceMethod(CalendarSelectors::kCreateToDo, &lumettaCreateNewICalToDoInCalendar);
    cls->addInstanceMethod(CalendarSelectors::kDeleteToDo, &lumettaDeleteToDoInICal);
    cls->addInstanceMethod(CalendarSelectors::kDeleteToDoReportingProblem,
                           &lumettaDeleteToDoInICalReportingProblem);
    cls->addInstanceMethod(CalendarSelectors::kViewToDo, &lumettaViewToDoInICal);
    cls->addInstanceMethod(CalendarSelectors::kRefreshFromICal, &lumettaRefreshDataFromICal);
    cls->addInstanceMethod(CalendarSelectors::kRefreshFromICalReportingProblem,
                           &lumettaRefreshDataFromICalReportingProblem);
    cls->addInstanceMethod(CalendarSelectors::kToDoProperties, &lumettaICalToDoProperties);
}

void MessageCalendarCategory::lumettaCreateNewICalToDoInCalendar(Object* self, Sel, Value calendar,
                                                                 Value title, Value date, Value priority,
                                                                 Value notes) {
    Message* message = asMessage(self);
    if (!message)
        return;
    Dictionary values;
    const std::pair<const char*, const Value*> given[] = {{"calendar", &calendar},
                                                          {"summary", &title},
                                                          {"dueDate", &date},
                                                          {"priority", &priority},
                                                          {"description", &notes}};
    for (const auto& [key, value] : given)
        if (!value->isNull())
            values.set(key, *value);
    // What lets the refresh find the message again: its file's name is its library row.
    if (message->isKindOfClass(mailhost::LibraryMessage::kClassName))
        values.set("url", "file://" + mailhost::Library::dataPathForMessage(message));

    LumettaICalToDo toDo;
    toDo.createToDoInICalUsingDictionary(values);
    const UserDefaults& defaults = UserDefaults::standard();
    if (const platform::Date* due = date.date();
        due && defaults.integerForKey("lumettaSetAlarmWithDueDate") != 0)
        if (const auto alarm = ICalAlarmTime::onDueDay(*due, defaults.valueForKey("lumettaAlarmTime")))
            toDo.setDisplayAlarm(*alarm);
    MessageTags::lumettaSetExtraData(*message, toDo.UID() ? Value(*toDo.UID()) : Value(), TagKeys::kICalUID);
}

std::optional<std::string> MessageCalendarCategory::lumettaDeleteToDoInICalReportingProblem(Object* self,
                                                                                            Sel) {
    Message* message = asMessage(self);
    if (!message)
        return std::nullopt;
    const auto uid = linkedUID(*message);
    LumettaICalToDo toDo(uid);
    if (!toDo.deleteICalEvent())
        return problemWith(uid, toDo);
    MessageTags::lumettaRemoveExtraDataForKey(*message, TagKeys::kICalUID);
    return std::nullopt;
}

void MessageCalendarCategory::lumettaDeleteToDoInICal(Object* self, Sel sel) {
    (void)lumettaDeleteToDoInICalReportingProblem(self, sel);
}

void MessageCalendarCategory::lumettaViewToDoInICal(Object* self, Sel) {
    if (Message* message = asMessage(self)) {
        LumettaICalToDo toDo(linkedUID(*message));
        toDo.viewToDoInICal();
    }
}

void MessageCalendarCategory::lumettaRefreshDataFromICal(Object* self, Sel sel) {
    (void)lumettaRefreshDataFromICalReportingProblem(self, sel);
}

std::optional<std::string> MessageCalendarCategory::lumettaRefreshDataFromICalReportingProblem(Object* self,
                                                                                               Sel) {
    Message* message = asMessage(self);
    if (!message)
        return std::nullopt;
    // Each key below is read once, before its own change.
    const Dictionary record = MessageTags::lumettaExtraData(*message).value_or(Dictionary());
    const auto set = [&](Value value, const char* key) {
        MessageTags::lumettaSetExtraData(*message, value, key);
    };
    const auto removeIfPresent = [&](const char* key) {
        if (record.contains(key))
            MessageTags::lumettaRemoveExtraDataForKey(*message, key);
    };

    const auto uid = linkedUID(*message);
    LumettaICalToDo toDo(uid);
    const auto properties = toDo.properties();
    if (!properties) {
        // Silence or a file the calendar cannot read says nothing about the to-do: the
        // message keeps its link and its tags until a refresh can read it again.
        if (uid && !toDo.isGone())
            return problemWith(uid, toDo);
        removeIfPresent(TagKeys::kICalUID);
        removeIfPresent(TagKeys::kICalCompletionDate);
        return std::nullopt;
    }

    if (const Value summary = properties->get("summary"); !summary.isNull()) {
        if (!summary.isEqual(record.get(TagKeys::kICalToDoTitle)))
            set(summary, TagKeys::kICalToDoTitle);
    } else {
        removeIfPresent(TagKeys::kICalToDoTitle);
    }

    if (const Value priority = properties->get("priority"); !priority.isNull()) {
        // Text here, where the bulk commands store a number: readers take the integer value.
        if (priority.intValue() != record.get(TagKeys::kPriority).intValue())
            set(Value(std::to_string(priority.intValue())), TagKeys::kPriority);
    } else {
        removeIfPresent(TagKeys::kPriority);
    }

    if (const Value completed = properties->get("completionDate"); !completed.isNull()) {
        if (secondsOf(completed) != secondsOf(record.get(TagKeys::kICalCompletionDate)))
            set(completed, TagKeys::kICalCompletionDate);
    } else {
        removeIfPresent(TagKeys::kICalCompletionDate);
    }

    // A to-do without a due date leaves the message's own due date alone.
    if (const Value due = properties->get("dueDate"); !due.isNull()) {
        if (secondsOf(due) != secondsOf(record.get(TagKeys::kDueDate))) {
            set(due, TagKeys::kDueDate);
            set(Value(1), TagKeys::kDueDateState);
        }
    }
    return std::nullopt;
}

std::optional<Dictionary> MessageCalendarCategory::lumettaICalToDoProperties(Object* self, Sel) {
    Message* message = asMessage(self);
    if (!message)
        return std::nullopt;
    const auto uid = linkedUID(*message);
    if (!uid)
        return std::nullopt;
    LumettaICalToDo toDo(uid);
    return toDo.properties();
}

} // namespace lumetta
