#include "lumetta/calendar/ICalEventBuilder.h"

#include "lumetta/calendar/ICalCodes.h"
#include "lumetta/calendar/ICalPriority.h"
#include "lumetta/calendar/ICalText.h"
#include "platform/foundation/Value.h"

namespace lumetta {

using namespace platform::appleevents;
using platform::Value;

namespace {

AEDesc coercedTo(const AEDesc& record, DescType type) {
    // Records coerce to every record-shaped type, so this cannot fail.
    return record.coerced(type).valueOr(record);
}

} // namespace

AppleEvent ICalEventBuilder::event(OSType eventClass, OSType eventID) {
    return AppleEvent::toBundleIdentifier(eventClass, eventID, ICalCodes::kBundleIdentifier);
}

AEDesc ICalEventBuilder::property(OSType code, AEDesc of) {
    return AEDesc::propertySpecifier(code, std::move(of));
}

AEDesc ICalEventBuilder::everyCalendar() {
    return AEDesc::objectSpecifier(formAbsolutePosition, ICalCodes::cCalendar,
                                   AEDesc::absoluteOrdinal(kAEAll), AEDesc::null());
}

AEDesc ICalEventBuilder::comparison(OSType op, AEDesc object1, AEDesc object2) {
    AEDesc record = AEDesc::record();
    record.setParam(keyAECompOperator, AEDesc::enumerated(op));
    record.setParam(keyAEObject1, std::move(object1));
    record.setParam(keyAEObject2, std::move(object2));
    return coercedTo(record, typeCompDescriptor);
}

AEDesc ICalEventBuilder::atEndOf(AEDesc container) {
    AEDesc record = AEDesc::record();
    record.setParam(keyAEObject, std::move(container));
    record.setParam(keyAEPosition, AEDesc::enumerated(kAEEnd));
    return coercedTo(record, typeInsertionLoc);
}

AppleEvent ICalEventBuilder::findToDoByUID(std::string_view uid) {
    const AEDesc test =
        comparison(kAEEquals, property(ICalCodes::pUid, AEDesc::objectBeingExamined()), AEDesc::text(uid));
    AppleEvent e = event(ICalCodes::kCoreSuite, ICalCodes::kGetData);
    e.setParam(keyDirectObject, AEDesc::objectSpecifier(formTest, ICalCodes::cToDo, test, everyCalendar()));
    return e;
}

AppleEvent ICalEventBuilder::findCalendarNamed(std::string_view name) {
    const AEDesc test = comparison(kAEEquals, property(ICalCodes::pName, AEDesc::objectBeingExamined()),
                                   ICalText::descriptor(name));
    AppleEvent e = event(ICalCodes::kCoreSuite, ICalCodes::kGetData);
    e.setParam(keyDirectObject,
               AEDesc::objectSpecifier(formTest, ICalCodes::cCalendar, test, AEDesc::null()));
    return e;
}

AppleEvent ICalEventBuilder::makeCalendar(std::string_view name) {
    AEDesc properties = AEDesc::record();
    properties.setParam(ICalCodes::pName, ICalText::descriptor(name));
    AppleEvent e = event(ICalCodes::kCoreSuite, ICalCodes::kCreateElement);
    e.setParam(keyAEObjectClass, AEDesc::typeCode(ICalCodes::cCalendar));
    e.setParam(keyAEPropData, std::move(properties));
    return e;
}

AppleEvent ICalEventBuilder::makeToDo(std::string_view calendar, const platform::Dictionary& values) {
    AEDesc properties = AEDesc::record();
    const auto text = [&](const char* key, OSType code, bool isURL) {
        const Value value = values.get(key);
        if (const std::string* s = value.string())
            properties.setParam(code, ICalText::descriptor(isURL ? ICalText::escapedURL(*s) : *s));
    };
    const auto date = [&](const char* key, OSType code) {
        const Value value = values.get(key);
        if (const platform::Date* d = value.date())
            if (auto ldt = AEDesc::longDateTime(*d))
                properties.setParam(code, std::move(ldt.value()));
    };
    text("summary", ICalCodes::pSummary, false);
    text("description", ICalCodes::pNotes, false);
    text("url", ICalCodes::pUrl, true);
    date("dueDate", ICalCodes::pDueDate);
    date("completionDate", ICalCodes::pCompletionDate);
    if (const Value priority = values.get("priority"); !priority.isNull())
        properties.setParam(ICalCodes::pPriority,
                            AEDesc::enumerated(ICalPriority::toCalendar(priority.intValue())));

    const AEDesc container = AEDesc::objectSpecifier(formName, ICalCodes::cCalendar,
                                                     ICalText::descriptor(calendar), AEDesc::null());
    AppleEvent e = event(ICalCodes::kCoreSuite, ICalCodes::kCreateElement);
    e.setParam(keyAEObjectClass, AEDesc::typeCode(ICalCodes::cToDo));
    e.setParam(keyAEInsertHere, atEndOf(container));
    e.setParam(keyAEPropData, std::move(properties));
    return e;
}

AppleEvent ICalEventBuilder::getProperty(OSType code, const AEDesc& object) {
    AppleEvent e = event(ICalCodes::kCoreSuite, ICalCodes::kGetData);
    e.setParam(keyDirectObject, property(code, object));
    return e;
}

AppleEvent ICalEventBuilder::getAllProperties(const AEDesc& toDo) {
    AppleEvent e = getProperty(ICalCodes::pAllProperties, toDo);
    e.setParam(keyAERequestedType, AEDesc::typeCode(typeAERecord));
    return e;
}

AppleEvent ICalEventBuilder::getCalendarName(const AEDesc& toDo) {
    const AEDesc* container = toDo.param(keyAEContainer);
    return getProperty(ICalCodes::pName, container ? *container : AEDesc::null());
}

AppleEvent ICalEventBuilder::setProperty(OSType code, const AEDesc& toDo, AEDesc value) {
    AppleEvent e = event(ICalCodes::kCoreSuite, ICalCodes::kSetData);
    e.setParam(keyDirectObject, property(code, toDo));
    e.setParam(keyAEData, std::move(value));
    return e;
}

AppleEvent ICalEventBuilder::deleteToDo(const AEDesc& toDo) {
    AppleEvent e = event(ICalCodes::kCoreSuite, ICalCodes::kDelete);
    e.setParam(keyDirectObject, toDo);
    return e;
}

AppleEvent ICalEventBuilder::countDisplayAlarms(const AEDesc& toDo) {
    AppleEvent e = event(ICalCodes::kCoreSuite, ICalCodes::kCountElements);
    e.setParam(keyAEObjectClass, AEDesc::typeCode(ICalCodes::cDisplayAlarm));
    e.setParam(keyDirectObject, toDo);
    return e;
}

AppleEvent ICalEventBuilder::makeDisplayAlarm(const AEDesc& toDo, AEDesc trigger) {
    const AEDesc everyAlarm = AEDesc::objectSpecifier(formAbsolutePosition, ICalCodes::cDisplayAlarm,
                                                      AEDesc::absoluteOrdinal(kAEAll), toDo);
    AEDesc properties = AEDesc::record();
    properties.setParam(ICalCodes::pTriggerDate, std::move(trigger));
    AppleEvent e = event(ICalCodes::kCoreSuite, ICalCodes::kCreateElement);
    e.setParam(keyAEObjectClass, AEDesc::typeCode(ICalCodes::cDisplayAlarm));
    e.setParam(keyAEInsertHere, atEndOf(everyAlarm));
    e.setParam(keyAEPropData, std::move(properties));
    return e;
}

AppleEvent ICalEventBuilder::moveFirstDisplayAlarm(const AEDesc& toDo, AEDesc trigger) {
    const AEDesc everyAlarm = AEDesc::objectSpecifier(formAbsolutePosition, ICalCodes::cDisplayAlarm,
                                                      AEDesc::absoluteOrdinal(kAEAll), toDo);
    const AEDesc first =
        AEDesc::objectSpecifier(formAbsolutePosition, ICalCodes::cItem, AEDesc::longInteger(1), everyAlarm);
    return setProperty(ICalCodes::pTriggerDate, first, std::move(trigger));
}

AppleEvent ICalEventBuilder::show(const AEDesc& toDo) {
    AppleEvent e = event(ICalCodes::kCalendarSuite, ICalCodes::kShow);
    e.setParam(keyDirectObject, toDo);
    return e;
}

AppleEvent ICalEventBuilder::activate() {
    return event(ICalCodes::kMiscSuite, ICalCodes::kActivate);
}

AppleEvent ICalEventBuilder::toDosModifiedSince(AEDesc since) {
    AEDesc terms = AEDesc::list();
    terms.append(comparison(kAEGreaterThan, property(ICalCodes::pStamp, AEDesc::objectBeingExamined()),
                            std::move(since)));
    terms.append(comparison(kAEContains, property(ICalCodes::pUrl, AEDesc::objectBeingExamined()),
                            ICalText::descriptor(".emlx")));
    AEDesc logic = AEDesc::record();
    logic.setParam(keyAELogicalOperator, AEDesc::enumerated(kAEAND));
    logic.setParam(keyAELogicalTerms, std::move(terms));
    AppleEvent e = event(ICalCodes::kCoreSuite, ICalCodes::kGetData);
    e.setParam(keyDirectObject,
               AEDesc::objectSpecifier(formTest, ICalCodes::cToDo, coercedTo(logic, typeLogicalDescriptor),
                                       everyCalendar()));
    return e;
}

} // namespace lumetta
