#pragma once

#include "calendarapp/app/ScriptingContext.h"
#include "platform/appleevents/AppleEvent.h"

namespace calendarapp {

// 'core'/'cnte': how many elements of class 'kocl' (default 'cobj') the object in '----'
// (default the application) has, as a 'long'. Of several objects ("every display alarm
// of ..."), how many of them are of that class.
class CountHandler {
public:
    explicit CountHandler(const ScriptingContext& context) : context_(context) {}

    platform::appleevents::AppleEvent handle(const platform::appleevents::AppleEvent& request) const;

private:
    const ScriptingContext& context_;
};

} // namespace calendarapp
