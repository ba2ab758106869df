#include "calendarapp/app/CanonicalReference.h"

#include "calendarapp/app/DescValues.h"

namespace calendarapp {

using namespace platform::appleevents;

AEDesc CanonicalReference::of(const ObjectRef& object) {
    const auto calendar = [&object] {
        return AEDesc::objectSpecifier(formName, cCalendar, DescValues::textDescriptor(object.calendar),
                                       AEDesc::null());
    };
    const auto toDo = [&] {
        return AEDesc::objectSpecifier(formUniqueID, cToDo, AEDesc::utf8Text(object.uid), calendar());
    };
    switch (object.kind) {
    case ObjectRef::Kind::Application:
        return AEDesc::null();
    case ObjectRef::Kind::Calendar:
        return calendar();
    case ObjectRef::Kind::ToDo:
        return toDo();
    case ObjectRef::Kind::DisplayAlarm:
        return AEDesc::objectSpecifier(formAbsolutePosition, cDisplayAlarm,
                                       AEDesc::longInteger(static_cast<std::int32_t>(object.alarmIndex + 1)),
                                       toDo());
    }
    return AEDesc::null();
}

} // namespace calendarapp
