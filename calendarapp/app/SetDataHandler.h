#pragma once

#include "calendarapp/app/ScriptingContext.h"
#include "platform/appleevents/AppleEvent.h"

namespace calendarapp {

// 'core'/'setd': '----' a property specifier, 'data' the new value (see PropertyWriter).
// A property of several objects is set on each, in order, stopping at the first failure.
class SetDataHandler {
public:
    explicit SetDataHandler(const ScriptingContext& context) : context_(context) {}

    platform::appleevents::AppleEvent handle(const platform::appleevents::AppleEvent& request) const;

private:
    const ScriptingContext& context_;
};

} // namespace calendarapp
