#pragma once

#include "platform/appleevents/AppleEvent.h"
#include "platform/foundation/Result.h"

namespace calendarapp {

// Answers to requests: a result in '----', or a failure as 'errn' (the Error's code, an
// Apple Event status) and 'errs' (its message). Failures are also logged, since a sender
// that does not wait never sees them.
class EventReply {
public:
    using AppleEvent = platform::appleevents::AppleEvent;

    static AppleEvent done(const AppleEvent& request);
    static AppleEvent result(const AppleEvent& request, platform::appleevents::AEDesc value);
    static AppleEvent failure(const AppleEvent& request, const platform::Error& error);
    // errAEParamMissed naming the parameter.
    static AppleEvent missingParameter(const AppleEvent& request, platform::appleevents::AEKeyword keyword);
};

} // namespace calendarapp
