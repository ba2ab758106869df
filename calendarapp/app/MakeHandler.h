#pragma once

#include "calendarapp/app/ScriptingContext.h"
#include "platform/appleevents/AppleEvent.h"
#include "platform/foundation/Result.h"

namespace calendarapp {

// 'core'/'crel': makes a calendar, a to-do or a display alarm and answers its specifier
// in '----'.
//
//   'kocl' 'wres'  'prdt' {'pnam': name}
//   'kocl' 'wret'  'insh' a calendar, or 'insl' {'kobj': calendar, 'kpos': 'end '};
//                  'prdt' any of 'wr11' 'wr12' 'wr16' (text), 'wrt3' 'wrt1' ('ldt '),
//                  'wrt5' (priority enumerator), all written at once
//   'kocl' 'wal1'  'insh' a to-do, or 'insl' {'kobj': every 'wal1' of a to-do, 'kpos': 'end '};
//                  'prdt' {'wale': trigger 'ldt '}
//
// The 'kobj' of an insertion location may name the container or the container's
// elements of the new class. Files in a calendar have no order, so every position puts a
// to-do into the calendar the same way; alarms always go after the to-do's others.
class MakeHandler {
public:
    explicit MakeHandler(const ScriptingContext& context) : context_(context) {}

    platform::appleevents::AppleEvent handle(const platform::appleevents::AppleEvent& request) const;

private:
    using AEDesc = platform::appleevents::AEDesc;

    // The object the new one goes into, from 'insh'.
    platform::Result<ObjectRef> container(const AEDesc* insertHere, OSType newClass) const;
    platform::Result<ObjectRef> makeCalendar(const AEDesc& properties) const;
    platform::Result<ObjectRef> makeToDo(const ObjectRef& calendar, const AEDesc& properties) const;
    platform::Result<ObjectRef> makeDisplayAlarm(const ObjectRef& toDo, const AEDesc& properties) const;

    const ScriptingContext& context_;
};

} // namespace calendarapp
