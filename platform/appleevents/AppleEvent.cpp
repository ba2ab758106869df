#include "platform/appleevents/AppleEvent.h"

namespace platform::appleevents {

AppleEvent::AppleEvent(AEEventClass eventClass, AEEventID eventID, AEDesc target, AEReturnID returnID,
                       AETransactionID transactionID)
    : eventClass_(eventClass), eventID_(eventID), target_(std::move(target)), returnID_(returnID),
      transactionID_(transactionID) {}

AppleEvent AppleEvent::toBundleIdentifier(AEEventClass eventClass, AEEventID eventID,
                                          std::string_view bundleIdentifier) {
    return AppleEvent(eventClass, eventID, AEDesc::bundleIdentifier(bundleIdentifier));
}

AppleEvent AppleEvent::replyTo(const AppleEvent& request) {
    return AppleEvent(kCoreEventClass, kAEAnswer, AEDesc(), request.returnID(), request.transactionID());
}

void AppleEvent::setParameters(AEDesc record) {
    if (record.descriptorType() == typeAERecord) {
        parameters_ = std::move(record);
        return;
    }
    auto asRecord = record.coerced(typeAERecord);
    parameters_ = asRecord ? std::move(asRecord.value()) : AEDesc::record();
}

void AppleEvent::setError(OSStatus number, std::string_view message) {
    setParam(keyErrorNumber, AEDesc::longInteger(number));
    if (message.empty()) {
        removeParam(keyErrorString);
        return;
    }
    auto text = AEDesc::macRomanText(message);
    setParam(keyErrorString, text ? std::move(text.value()) : AEDesc::utf8Text(message));
}

std::optional<OSStatus> AppleEvent::errorNumber() const {
    const AEDesc* number = param(keyErrorNumber);
    return number ? number->int32Value() : std::nullopt;
}

std::optional<std::string> AppleEvent::errorString() const {
    const AEDesc* text = param(keyErrorString);
    return text ? text->stringValue() : std::nullopt;
}

} // namespace platform::appleevents
