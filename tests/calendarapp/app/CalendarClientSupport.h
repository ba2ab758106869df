#pragma once

#include "calendarapp/app/CalendarCodes.h"
#include "platform/appleevents/AESend.h"
#include "platform/appleevents/AppleEvent.h"

#include <optional>
#include <string>

namespace caltest {

using platform::appleevents::AEDesc;
using platform::appleevents::AppleEvent;
using platform::appleevents::OSStatus;
using platform::appleevents::OSType;

// The calendar client's events, built by hand from descriptors as the client builds them:
// 'bund' "com.apple.iCal" targets, Mac OS Roman 'TEXT' (UTF-8 for the UID in the
// find-by-UID test), 'ldt ' dates, 'abso' 'all ', records coerced to 'cmpd', 'logi',
// 'insl' and 'obj '.
AppleEvent calendarEvent(OSType eventClass, OSType eventID);
AEDesc roman(const std::string& utf8);
AEDesc ldt(double unixSeconds);
AEDesc prop(OSType property, AEDesc of);
AEDesc everyCalendar();
AEDesc calendarNamed(const std::string& name);
AEDesc every(OSType elementClass, AEDesc of);
AEDesc compare(OSType op, OSType property, AEDesc value);
AEDesc allOf(AEDesc first, AEDesc second);
// Every to-do of every calendar whose uid is `uid`.
AEDesc toDoWithUid(const std::string& uid);
// Every to-do of every calendar changed after `unixSeconds` whose url contains ".emlx".
AEDesc linkedToDosChangedSince(double unixSeconds);
// Every calendar whose name is `name`.
AEDesc calendarsNamed(const std::string& name);

AppleEvent getEvent(AEDesc direct);
AppleEvent setEvent(AEDesc direct, AEDesc data);
AppleEvent makeCalendarEvent(const std::string& name);
// A to-do at the end of the calendar `calendar`, with a property record.
AppleEvent makeToDoEvent(const std::string& calendar, AEDesc properties);
AppleEvent makeAlarmEvent(AEDesc toDo, double triggerUnixSeconds);
AppleEvent countAlarmsEvent(AEDesc toDo);
// The first display alarm's trigger: prop('wale', of item 1 of every 'wal1' of the to-do).
AEDesc firstAlarmTrigger(AEDesc toDo);

// A waiting send (0x13, default timeout); the reply, or the status when it is not noErr.
struct Answer {
    OSStatus status = 0;
    AppleEvent reply;

    const AEDesc* result() const { return reply.directObject(); }
    std::optional<OSStatus> error() const { return reply.errorNumber(); }
    std::string errorText() const { return reply.errorString().value_or(""); }
};
Answer ask(const AppleEvent& event, long timeoutTicks = platform::appleevents::kAEDefaultTimeout);
// A send without reply (0x11), as the client sends commands it need not hear back from.
OSStatus tell(const AppleEvent& event);

// The to-do references a test query answered: the 'obj ' items of a 'list'.
std::vector<AEDesc> references(const Answer& answer);

} // namespace caltest
