#include "platform/appleevents/AEInProcessTransport.h"

#include "platform/appleevents/AEFlattener.h"

namespace platform::appleevents {

void AEInProcessTransport::addApplication(std::string bundleIdentifier, AEEventHandler handler) {
    std::lock_guard lock(mutex_);
    applications_[std::move(bundleIdentifier)] = std::move(handler);
}

void AEInProcessTransport::removeApplication(std::string_view bundleIdentifier) {
    std::lock_guard lock(mutex_);
    if (const auto found = applications_.find(bundleIdentifier); found != applications_.end())
        applications_.erase(found);
}

OSStatus AEInProcessTransport::deliver(const AppleEvent& request, AppleEvent* reply, const AEDeadline&) {
    const auto identifier = request.targetBundleIdentifier();
    if (!identifier)
        return errAEUnknownAddressType;
    AEEventHandler handler;
    {
        std::lock_guard lock(mutex_);
        const auto found = applications_.find(*identifier);
        if (found == applications_.end())
            return procNotFound;
        handler = found->second;
    }
    auto received = AEFlattener::unflattenEvent(AEFlattener::flatten(request));
    if (!received)
        return paramErr;
    const AppleEvent answer = answerRequest(handler, received.value());
    if (!reply)
        return noErr;
    auto returned = AEFlattener::unflattenEvent(AEFlattener::flatten(answer));
    if (!returned)
        return errAECorruptData;
    *reply = std::move(returned.value());
    return noErr;
}

} // namespace platform::appleevents
