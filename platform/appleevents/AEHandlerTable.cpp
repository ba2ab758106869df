#include "platform/appleevents/AEHandlerTable.h"

namespace platform::appleevents {

void AEHandlerTable::install(AEEventClass eventClass, AEEventID eventID, AEEventHandler handler) {
    handlers_[{eventClass, eventID}] = std::move(handler);
}

AppleEvent AEHandlerTable::dispatch(const AppleEvent& request) const {
    const auto found = handlers_.find({request.eventClass(), request.eventID()});
    if (found == handlers_.end() || !found->second) {
        AppleEvent reply = AppleEvent::replyTo(request);
        reply.setError(errAEEventNotHandled, "the event " + osTypeString(request.eventClass()) + "/" +
                                                 osTypeString(request.eventID()) + " is not handled");
        return reply;
    }
    return found->second(request);
}

AEEventHandler AEHandlerTable::handler() const {
    return [this](const AppleEvent& request) {
        return dispatch(request);
    };
}

} // namespace platform::appleevents
