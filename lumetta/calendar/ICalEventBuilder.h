#pragma once

#include "platform/appleevents/AppleEvent.h"
#include "platform/foundation/Dictionary.h"

#include <string_view>

namespace lumetta {

// The events the calendar client sends, built from descriptors by hand. Every event is
// addressed to the calendar by bundle identifier; nothing here sends anything, so each
// event can be checked as it would travel.
//
// In the comments, prop(P, of X) is the property P of the object X, and "exmn" the object
// a test clause is looking at.
class ICalEventBuilder {
public:
    using AEDesc = platform::appleevents::AEDesc;
    using AppleEvent = platform::appleevents::AppleEvent;
    using OSType = platform::appleevents::OSType;

    // Every calendar of the application.
    static AEDesc everyCalendar();
    // {'relo': enum op, 'obj1': a, 'obj2': b} as 'cmpd'.
    static AEDesc comparison(OSType op, AEDesc object1, AEDesc object2);

    // Every to-do of every calendar whose uid equals `uid`. The UID goes as 'TEXT' holding
    // its UTF-8 bytes, unlike all other text, which the calendar matches byte for byte.
    static AppleEvent findToDoByUID(std::string_view uid);
    // Every calendar whose name is `name`.
    static AppleEvent findCalendarNamed(std::string_view name);
    static AppleEvent makeCalendar(std::string_view name);
    // A new to-do at the end of the calendar `calendar`, with the properties of the
    // dictionary's "summary", "description", "url" (percent-escaped here), "dueDate",
    // "completionDate" and "priority" (tag scale) that are present; a date that cannot
    // be expressed is left out.
    static AppleEvent makeToDo(std::string_view calendar, const platform::Dictionary& properties);

    static AppleEvent getProperty(OSType property, const AEDesc& object);
    // Every property of the to-do at once, asked for as a record.
    static AppleEvent getAllProperties(const AEDesc& toDo);
    // The name of the calendar the to-do specifier says holds it.
    static AppleEvent getCalendarName(const AEDesc& toDo);
    static AppleEvent setProperty(OSType property, const AEDesc& toDo, AEDesc value);
    static AppleEvent deleteToDo(const AEDesc& toDo);

    static AppleEvent countDisplayAlarms(const AEDesc& toDo);
    static AppleEvent makeDisplayAlarm(const AEDesc& toDo, AEDesc trigger);
    // Moves the trigger of the to-do's first display alarm; any others stay.
    static AppleEvent moveFirstDisplayAlarm(const AEDesc& toDo, AEDesc trigger);

    static AppleEvent show(const AEDesc& toDo);
    static AppleEvent activate();

    // Every to-do changed after `since` ('ldt ') whose url contains ".emlx": the to-dos
    // that point back at a message file.
    static AppleEvent toDosModifiedSince(AEDesc since);

private:
    static AppleEvent event(OSType eventClass, OSType eventID);
    static AEDesc property(OSType property, AEDesc of);
    static AEDesc atEndOf(AEDesc container);
};

} // namespace lumetta
