#pragma once

#include "platform/appleevents/AEEventHandler.h"
#include "platform/appleevents/AETransport.h"

#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace platform::appleevents {

// Applications as handlers inside the sending process (tests). The event and the reply
// still go through flattening, so a handler sees exactly what would have crossed a
// socket, and a descriptor that cannot travel fails here too. The handler runs on the
// sending thread; a deadline cannot interrupt it.
class AEInProcessTransport : public AETransport {
public:
    void addApplication(std::string bundleIdentifier, AEEventHandler handler);
    void removeApplication(std::string_view bundleIdentifier);

    OSStatus deliver(const AppleEvent& request, AppleEvent* reply, const AEDeadline& deadline) override;

private:
    std::mutex mutex_;
    std::map<std::string, AEEventHandler, std::less<>> applications_;
};

} // namespace platform::appleevents
