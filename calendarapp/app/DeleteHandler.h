#pragma once

#include "calendarapp/app/ScriptingContext.h"
#include "platform/appleevents/AppleEvent.h"

namespace calendarapp {

// 'core'/'delo': '----' one or more to-dos, whose item files are removed. Calendars and
// alarms are not deleted through events (errAEEventFailed): a calendar's folder may be
// another program's, and nothing here removes alarms.
class DeleteHandler {
public:
    explicit DeleteHandler(const ScriptingContext& context) : context_(context) {}

    platform::appleevents::AppleEvent handle(const platform::appleevents::AppleEvent& request) const;

private:
    const ScriptingContext& context_;
};

} // namespace calendarapp
