#include "calendarapp/app/ObjectRef.h"

#include "calendarapp/app/Vocabulary.h"

namespace calendarapp {

OSType ObjectRef::classCode() const {
    switch (kind) {
    case Kind::Application:
        return cApplication;
    case Kind::Calendar:
        return cCalendar;
    case Kind::ToDo:
        return cToDo;
    case Kind::DisplayAlarm:
        return cDisplayAlarm;
    }
    return cAnyObject;
}

std::string ObjectRef::description() const {
    const std::string inCalendar = "calendar \"" + calendar + "\"";
    switch (kind) {
    case Kind::Application:
        return "application \"Calendar\"";
    case Kind::Calendar:
        return inCalendar;
    case Kind::ToDo:
        return "to do id \"" + uid + "\" of " + inCalendar;
    case Kind::DisplayAlarm:
        return "display alarm " + std::to_string(alarmIndex + 1) + " of to do id \"" + uid + "\" of " +
               inCalendar;
    }
    return Vocabulary::className(classCode());
}

} // namespace calendarapp
