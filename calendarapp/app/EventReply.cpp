#include "calendarapp/app/EventReply.h"

#include "platform/foundation/Log.h"

namespace calendarapp {

using namespace platform::appleevents;

AppleEvent EventReply::done(const AppleEvent& request) {
    return AppleEvent::replyTo(request);
}

AppleEvent EventReply::result(const AppleEvent& request, AEDesc value) {
    AppleEvent reply = AppleEvent::replyTo(request);
    reply.setParam(keyDirectObject, std::move(value));
    return reply;
}

AppleEvent EventReply::failure(const AppleEvent& request, const platform::Error& error) {
    platform::Log::line("lumetta-calendar: " + osTypeString(request.eventClass()) + "/" +
                        osTypeString(request.eventID()) + " failed (" + std::to_string(error.code) +
                        "): " + error.message);
    AppleEvent reply = AppleEvent::replyTo(request);
    reply.setError(error.code, error.message);
    return reply;
}

AppleEvent EventReply::missingParameter(const AppleEvent& request, AEKeyword keyword) {
    return failure(request, platform::makeError("The parameter " + osTypeString(keyword) + " is missing.",
                                                errAEParamMissed));
}

} // namespace calendarapp
