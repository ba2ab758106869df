#pragma once

#include "platform/appleevents/AETransport.h"

#include <filesystem>

namespace platform::appleevents {

// Events over the application's Unix-domain socket (AESocketPath): one connection per
// send, the event as one request frame (AEFrame), and for a waiting send one reply frame
// back. A send that does not wait returns as soon as the frame is written.
class AESocketTransport : public AETransport {
public:
    OSStatus deliver(const AppleEvent& request, AppleEvent* reply, const AEDeadline& deadline) override;

    // Whether an application accepts connections at `socketPath` right now.
    static bool answers(const std::filesystem::path& socketPath);
};

} // namespace platform::appleevents
