#include "platform/appleevents/AESend.h"

#include "platform/appleevents/AETransport.h"

#include <atomic>

namespace platform::appleevents {

namespace {

constexpr AESendMode kKnownModeBits = kAEReplyModeMask | kAEInteractMask | kAECanSwitchLayer |
                                      kAEDontReconnect | kAEWantReceipt | kAEDontRecord | kAEDontExecute |
                                      kAEProcessNonReplyEvents | kAEDoNotAutomaticallyAddAnnotationsToEvent;

// Return IDs run 1...32767 and wrap; -1 asks for one and 0 is never handed out.
AEReturnID nextReturnID() {
    static std::atomic<unsigned> counter{0};
    return static_cast<AEReturnID>(counter.fetch_add(1) % 32767 + 1);
}

} // namespace

OSStatus AESendMessage(const AppleEvent& event, AppleEvent* reply, AESendMode sendMode, long timeoutInTicks) {
    if (reply != nullptr)
        *reply = AppleEvent();
    if ((sendMode & ~kKnownModeBits) != 0 || (sendMode & kAEReplyModeMask) == 0)
        return errAEUnknownSendMode;
    bool validTimeout = true;
    const AEDeadline deadline = deadlineAfterTicks(timeoutInTicks, validTimeout);
    if (!validTimeout)
        return paramErr;

    AppleEvent request = event;
    if (request.returnID() == kAutoGenerateReturnID)
        request.setReturnID(nextReturnID());
    const bool waits = (sendMode & kAEReplyModeMask) == kAEWaitReply;
    AppleEvent answer;
    const OSStatus status = AETransport::current().deliver(request, waits ? &answer : nullptr, deadline);
    if (status != noErr || !waits)
        return status;
    if (!answer.isReply() || answer.returnID() != request.returnID())
        return errAECorruptData;
    if (reply != nullptr)
        *reply = std::move(answer);
    return noErr;
}

} // namespace platform::appleevents
