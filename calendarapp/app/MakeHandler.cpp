#include "calendarapp/app/MakeHandler.h"

#include "calendarapp/app/CanonicalReference.h"
#include "calendarapp/app/DescValues.h"
#include "calendarapp/app/EventReply.h"
#include "calendarapp/app/StoreStatus.h"
#include "calendarapp/app/Vocabulary.h"

#include <memory>

namespace calendarapp {

using namespace platform::appleevents;
using platform::Result;
using Kind = ObjectRef::Kind;

namespace {

platform::Error cannotMake(OSType newClass, const std::string& why, OSStatus status) {
    return platform::makeError("Can't make a new " + Vocabulary::className(newClass) + ": " + why + ".",
                               status);
}

// Reads the to-do properties a record holds; others are left to their defaults.
Result<ToDoProperties> toDoProperties(const AEDesc& record) {
    ToDoProperties properties;
    for (OSType code : {pSummary, pNotes, pUrl}) {
        const AEDesc* value = record.param(code);
        if (value == nullptr)
            continue;
        auto text = LUMETTA_TRY(DescValues::text(*value));
        (code == pSummary ? properties.summary
         : code == pNotes ? properties.description
                          : properties.url) = text;
    }
    for (OSType code : {pDueDate, pCompletionDate}) {
        const AEDesc* value = record.param(code);
        if (value == nullptr)
            continue;
        auto date = LUMETTA_TRY(DescValues::date(*value));
        (code == pDueDate ? properties.dueDate : properties.completionDate) = date;
    }
    if (const AEDesc* value = record.param(pPriority)) {
        properties.priority = LUMETTA_TRY(DescValues::priority(*value));
    }
    return properties;
}

} // namespace

AppleEvent MakeHandler::handle(const AppleEvent& request) const {
    const AEDesc* kind = request.param(keyAEObjectClass);
    if (kind == nullptr || !kind->osTypeValue())
        return EventReply::missingParameter(request, keyAEObjectClass);
    const OSType newClass = *kind->osTypeValue();
    const AEDesc* given = request.param(keyAEPropData);
    const AEDesc properties = given != nullptr ? *given : AEDesc::record();
    if (!properties.isRecord())
        return EventReply::failure(
            request, cannotMake(newClass, "its properties are not a record", errAEWrongDataType));

    Result<ObjectRef> made = cannotMake(newClass, "there is no such class here", errAEEventFailed);
    if (newClass == cCalendar) {
        made = makeCalendar(properties);
    } else if (newClass == cToDo || newClass == cDisplayAlarm) {
        auto into = container(request.param(keyAEInsertHere), newClass);
        if (!into)
            return EventReply::failure(request, into.error());
        made = newClass == cToDo ? makeToDo(into.value(), properties)
                                 : makeDisplayAlarm(into.value(), properties);
    }
    if (!made)
        return EventReply::failure(request, made.error());
    return EventReply::result(request, CanonicalReference::of(made.value()));
}

Result<ObjectRef> MakeHandler::container(const AEDesc* insertHere, OSType newClass) const {
    const Kind needed = newClass == cToDo ? Kind::Calendar : Kind::ToDo;
    const std::string place = newClass == cToDo ? "a calendar" : "a to do";
    if (insertHere == nullptr)
        return cannotMake(newClass, "it needs a location in " + place, errAEParamMissed);
    AEDesc target = *insertHere;
    if (target.descriptorType() == typeInsertionLoc) {
        const AEDesc* object = target.param(keyAEObject);
        if (object == nullptr)
            return cannotMake(newClass, "its location names no object", errAEParamMissed);
        target = AEDesc(*object); // a copy first: `object` lives inside `target`
    }
    // "at end of every display alarm of X" means "in X".
    const AEDesc* want = target.param(keyAEDesiredClass);
    const AEDesc* form = target.param(keyAEKeyForm);
    const AEDesc* seld = target.param(keyAEKeyData);
    if (target.descriptorType() == typeObjectSpecifier && want && want->osTypeValue() == newClass && form &&
        form->osTypeValue() == formAbsolutePosition && seld &&
        seld->descriptorType() == typeAbsoluteOrdinal) {
        const AEDesc* from = target.param(keyAEContainer);
        target = from != nullptr ? AEDesc(*from) : AEDesc::null();
    }
    const Resolution found = LUMETTA_TRY(context_.resolver.resolve(target));
    if (found.plural || found.property != 0 || found.objects.size() != 1 || found.objects[0].kind != needed)
        return cannotMake(newClass, "it can only be made in " + place, errAEEventFailed);
    return found.objects[0];
}

Result<ObjectRef> MakeHandler::makeCalendar(const AEDesc& properties) const {
    const AEDesc* nameDesc = properties.param(pName);
    if (nameDesc == nullptr)
        return cannotMake(cCalendar, "it needs a name", errAEParamMissed);
    auto name = LUMETTA_TRY(DescValues::text(*nameDesc));
    auto calendar = context_.store.createCalendar(name.value_or(""));
    if (!calendar)
        return StoreStatus::toEventError(calendar.error());
    return ObjectRef::forCalendar(calendar.value().name);
}

Result<ObjectRef> MakeHandler::makeToDo(const ObjectRef& calendar, const AEDesc& properties) const {
    auto values = LUMETTA_TRY(toDoProperties(properties));
    auto toDo = context_.store.createToDo(calendar.calendar, values);
    if (!toDo)
        return StoreStatus::toEventError(toDo.error());
    return ObjectRef::forToDo(std::make_shared<const ToDo>(std::move(toDo.value())));
}

Result<ObjectRef> MakeHandler::makeDisplayAlarm(const ObjectRef& toDo, const AEDesc& properties) const {
    const AEDesc* trigger = properties.param(pTriggerDate);
    if (trigger == nullptr)
        return cannotMake(cDisplayAlarm, "it needs a trigger date", errAEParamMissed);
    auto date = LUMETTA_TRY(DescValues::date(*trigger));
    if (!date)
        return cannotMake(cDisplayAlarm, "it needs a trigger date", errAEParamMissed);
    auto changed = context_.store.addDisplayAlarm(toDo.uid, *date);
    if (!changed)
        return StoreStatus::toEventError(changed.error());
    auto snapshot = std::make_shared<const ToDo>(std::move(changed.value()));
    return ObjectRef::forDisplayAlarm(ObjectRef::forToDo(snapshot), snapshot->displayAlarms.size() - 1);
}

} // namespace calendarapp
