#include "CalendarClientSupport.h"

#include <gtest/gtest.h>

namespace caltest {

using namespace platform::appleevents;
using namespace calendarapp;

AppleEvent calendarEvent(OSType eventClass, OSType eventID) {
    return AppleEvent::toBundleIdentifier(eventClass, eventID, kCalendarBundleIdentifier);
}

AEDesc roman(const std::string& utf8) {
    auto text = AEDesc::macRomanText(utf8);
    EXPECT_TRUE(text.ok()) << utf8;
    return text.ok() ? text.value() : AEDesc();
}

AEDesc ldt(double unixSeconds) {
    return AEDesc::longDateTime(platform::Date::fromUnix(unixSeconds)).value();
}

AEDesc prop(OSType property, AEDesc of) {
    return AEDesc::propertySpecifier(property, std::move(of));
}

AEDesc everyCalendar() {
    return AEDesc::objectSpecifier(formAbsolutePosition, cCalendar, AEDesc::absoluteOrdinal(kAEAll),
                                   AEDesc());
}

AEDesc calendarNamed(const std::string& name) {
    return AEDesc::objectSpecifier(formName, cCalendar, roman(name), AEDesc());
}

AEDesc every(OSType elementClass, AEDesc of) {
    return AEDesc::objectSpecifier(formAbsolutePosition, elementClass, AEDesc::absoluteOrdinal(kAEAll),
                                   std::move(of));
}

AEDesc compare(OSType op, OSType property, AEDesc value) {
    return AEDesc::record(typeCompDescriptor, {{keyAECompOperator, AEDesc::enumerated(op)},
                                               {keyAEObject1, prop(property, AEDesc::objectBeingExamined())},
                                               {keyAEObject2, std::move(value)}});
}

AEDesc allOf(AEDesc first, AEDesc second) {
    return AEDesc::record(typeLogicalDescriptor,
                          {{keyAELogicalOperator, AEDesc::enumerated(kAEAND)},
                           {keyAELogicalTerms, AEDesc::list({std::move(first), std::move(second)})}});
}

AEDesc toDoWithUid(const std::string& uid) {
    return AEDesc::objectSpecifier(formTest, cToDo, compare(kAEEquals, pUid, AEDesc::text(uid)),
                                   everyCalendar());
}

AEDesc linkedToDosChangedSince(double unixSeconds) {
    return AEDesc::objectSpecifier(
        formTest, cToDo,
        allOf(compare(kAEGreaterThan, pStamp, ldt(unixSeconds)), compare(kAEContains, pUrl, roman(".emlx"))),
        everyCalendar());
}

AEDesc calendarsNamed(const std::string& name) {
    return AEDesc::objectSpecifier(formTest, cCalendar, compare(kAEEquals, pName, roman(name)), AEDesc());
}

AppleEvent getEvent(AEDesc direct) {
    AppleEvent event = calendarEvent(kAECoreSuite, kAEGetData);
    event.setParam(keyDirectObject, std::move(direct));
    return event;
}

AppleEvent setEvent(AEDesc direct, AEDesc data) {
    AppleEvent event = calendarEvent(kAECoreSuite, kAESetData);
    event.setParam(keyAEData, std::move(data));
    event.setParam(keyDirectObject, std::move(direct));
    return event;
}

AppleEvent makeCalendarEvent(const std::string& name) {
    AppleEvent event = calendarEvent(kAECoreSuite, kAECreateElement);
    event.setParam(keyAEObjectClass, AEDesc::typeCode(cCalendar));
    event.setParam(keyAEPropData, AEDesc::record(typeAERecord, {{pName, roman(name)}}));
    return event;
}

AppleEvent makeToDoEvent(const std::string& calendar, AEDesc properties) {
    AppleEvent event = calendarEvent(kAECoreSuite, kAECreateElement);
    event.setParam(keyAEObjectClass, AEDesc::typeCode(cToDo));
    event.setParam(keyAEInsertHere,
                   AEDesc::record(typeInsertionLoc, {{keyAEObject, calendarNamed(calendar)},
                                                     {keyAEPosition, AEDesc::enumerated(kAEEnd)}}));
    event.setParam(keyAEPropData, std::move(properties));
    return event;
}

AppleEvent makeAlarmEvent(AEDesc toDo, double triggerUnixSeconds) {
    AppleEvent event = calendarEvent(kAECoreSuite, kAECreateElement);
    event.setParam(keyAEObjectClass, AEDesc::typeCode(cDisplayAlarm));
    event.setParam(keyAEInsertHere,
                   AEDesc::record(typeInsertionLoc, {{keyAEObject, every(cDisplayAlarm, std::move(toDo))},
                                                     {keyAEPosition, AEDesc::enumerated(kAEEnd)}}));
    event.setParam(keyAEPropData, AEDesc::record(typeAERecord, {{pTriggerDate, ldt(triggerUnixSeconds)}}));
    return event;
}

AppleEvent countAlarmsEvent(AEDesc toDo) {
    AppleEvent event = calendarEvent(kAECoreSuite, kAECountElements);
    event.setParam(keyAEObjectClass, AEDesc::typeCode(cDisplayAlarm));
    event.setParam(keyDirectObject, std::move(toDo));
    return event;
}

AEDesc firstAlarmTrigger(AEDesc toDo) {
    return prop(pTriggerDate,
                AEDesc::objectSpecifier(formAbsolutePosition, cAnyObject, AEDesc::longInteger(1),
                                        every(cDisplayAlarm, std::move(toDo))));
}

Answer ask(const AppleEvent& event, long timeoutTicks) {
    Answer answer;
    answer.status = AESendMessage(event, &answer.reply, kAEWaitReply | kAENeverInteract, timeoutTicks);
    return answer;
}

OSStatus tell(const AppleEvent& event) {
    return AESendMessage(event, nullptr, kAENoReply | kAENeverInteract, kAEDefaultTimeout);
}

std::vector<AEDesc> references(const Answer& answer) {
    std::vector<AEDesc> found;
    const AEDesc* list = answer.result();
    if (list == nullptr || list->descriptorType() != typeAEList)
        return found;
    for (std::size_t i = 1; i <= list->count(); ++i)
        if (list->item(i)->descriptorType() == typeObjectSpecifier)
            found.push_back(*list->item(i));
    return found;
}

} // namespace caltest
