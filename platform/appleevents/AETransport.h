#pragma once

#include "platform/appleevents/AEDeadline.h"
#include "platform/appleevents/AppleEvent.h"

namespace platform::appleevents {

// How events reach the application their target names. AESendMessage goes through the
// current transport: the socket transport (AESocketTransport), unless a test installed
// another with ScopedAETransport (such as AEInProcessTransport).
class AETransport {
public:
    virtual ~AETransport() = default;

    // Hands `request` (its return ID already set) to the application. With `reply`, waits
    // until `deadline` for the answer and stores it there; without, returns once the event
    // is handed over. Statuses: noErr; errAEUnknownAddressType when the target is not a
    // bundle identifier; procNotFound when the application is not running;
    // connectionInvalid when it went away before answering; errAETimeout when the deadline
    // passed first; errAECorruptData when its answer is not a readable event.
    virtual OSStatus deliver(const AppleEvent& request, AppleEvent* reply, const AEDeadline& deadline) = 0;

    static AETransport& current();
};

// Installs a transport for AESendMessage while alive, restoring the previous one after.
class ScopedAETransport {
public:
    explicit ScopedAETransport(AETransport& transport);
    ~ScopedAETransport();
    ScopedAETransport(const ScopedAETransport&) = delete;
    ScopedAETransport& operator=(const ScopedAETransport&) = delete;

private:
    AETransport* previous_;
};

} // namespace platform::appleevents
