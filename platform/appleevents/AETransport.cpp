#include "platform/appleevents/AETransport.h"

#include "platform/appleevents/AESocketTransport.h"

#include <atomic>

namespace platform::appleevents {

namespace {
std::atomic<AETransport*> installed{nullptr};
} // namespace

AETransport& AETransport::current() {
    if (AETransport* transport = installed.load())
        return *transport;
    static AESocketTransport sockets;
    return sockets;
}

ScopedAETransport::ScopedAETransport(AETransport& transport) : previous_(installed.exchange(&transport)) {}

ScopedAETransport::~ScopedAETransport() {
    installed.store(previous_);
}

} // namespace platform::appleevents
