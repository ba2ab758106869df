#pragma once

#include "platform/appleevents/AEEventHandler.h"

#include <map>
#include <utility>

namespace platform::appleevents {

// Handlers by event class and id, the way an application declares which events it
// understands:
//
//     AEHandlerTable table;
//     table.install(fourCharCode("core"), fourCharCode("getd"), [&](const AppleEvent& e) { ... });
//     auto server = AEServer::listen("com.apple.iCal", table.handler());
//
// An event without a handler is answered with errAEEventNotHandled.
class AEHandlerTable {
public:
    void install(AEEventClass eventClass, AEEventID eventID, AEEventHandler handler);
    AppleEvent dispatch(const AppleEvent& request) const;
    // A handler that dispatches through this table; the table must outlive it.
    AEEventHandler handler() const;

private:
    std::map<std::pair<AEEventClass, AEEventID>, AEEventHandler> handlers_;
};

} // namespace platform::appleevents
