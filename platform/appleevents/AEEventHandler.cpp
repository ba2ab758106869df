#include "platform/appleevents/AEEventHandler.h"

#include <exception>

namespace platform::appleevents {

AppleEvent answerRequest(const AEEventHandler& handler, const AppleEvent& request) {
    AppleEvent reply = AppleEvent::replyTo(request);
    if (!handler) {
        reply.setError(errAEEventNotHandled, "no handler for the event");
        return reply;
    }
    try {
        AppleEvent answer = handler(request);
        reply.setParameters(answer.parameters());
    } catch (const std::exception& e) {
        reply.setError(errAEEventFailed, e.what());
    } catch (...) {
        reply.setError(errAEEventFailed, "the handler failed");
    }
    return reply;
}

} // namespace platform::appleevents
