#pragma once

#include "calendarapp/app/CalendarCodes.h"
#include "calendarapp/store/ToDo.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace calendarapp {

// One scriptable object of the calendar, found while answering an event: the application,
// a calendar (by name), a to-do (by UID, with the calendar holding it) or one of a to-do's
// display alarms (by position). A to-do found in the store carries the snapshot it was
// read as, so the same event reads its properties without reading the file again.
struct ObjectRef {
    enum class Kind { Application, Calendar, ToDo, DisplayAlarm };

    Kind kind = Kind::Application;
    std::string calendar;       // the calendar, or the one holding the to-do
    std::string uid;            // to-dos and their alarms
    std::size_t alarmIndex = 0; // display alarms, from 0
    std::shared_ptr<const ToDo> toDo;

    static ObjectRef application() { return {}; }
    static ObjectRef forCalendar(std::string name) { return {Kind::Calendar, std::move(name), {}, 0, {}}; }
    static ObjectRef forToDo(std::shared_ptr<const ToDo> toDo) {
        return {Kind::ToDo, toDo->calendar.name, toDo->uid, 0, toDo};
    }
    static ObjectRef forDisplayAlarm(const ObjectRef& toDo, std::size_t index) {
        return {Kind::DisplayAlarm, toDo.calendar, toDo.uid, index, toDo.toDo};
    }

    // The class code clients know this kind of object by.
    OSType classCode() const;
    // How error messages name it: `to do id "..." of calendar "Work"`.
    std::string description() const;
};

// What an object specifier stands for: one object or several ("every ...", a test), or
// one property of each of them.
struct Resolution {
    std::vector<ObjectRef> objects;
    bool plural = false;
    OSType property = 0; // 0: the objects themselves
};

} // namespace calendarapp
