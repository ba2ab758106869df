#pragma once

#include "calendarapp/app/ScriptingContext.h"
#include "platform/appleevents/AppleEvent.h"

namespace calendarapp {

// 'core'/'getd': '----' a specifier. Objects answer as specifiers this application
// resolves again later (CanonicalReference), properties as their values; several objects
// ("every ...", a test) as a 'list' of them. 'rtyp' asks for the answer as another type
// ('reco' for 'pALL', 'TEXT', 'list', ...).
class GetDataHandler {
public:
    explicit GetDataHandler(const ScriptingContext& context) : context_(context) {}

    platform::appleevents::AppleEvent handle(const platform::appleevents::AppleEvent& request) const;

private:
    const ScriptingContext& context_;
};

} // namespace calendarapp
