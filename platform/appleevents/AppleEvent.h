#pragma once

#include "platform/appleevents/AEDesc.h"

#include <optional>
#include <string>
#include <string_view>

namespace platform::appleevents {

// One Apple Event: its class and id, the application it goes to, the return ID that
// pairs it with its reply, a transaction ID, and parameters by keyword. A value type.
//
// A request is built, given parameters and sent with AESendMessage (AESend.h). A handler
// answers it with replyTo(request), putting the result in '----', or an error number and
// text in 'errn'/'errs' with setError.
class AppleEvent {
public:
    // The null event (class and id 0), what a reply holds before anything arrived.
    AppleEvent() = default;
    AppleEvent(AEEventClass eventClass, AEEventID eventID, AEDesc target,
               AEReturnID returnID = kAutoGenerateReturnID,
               AETransactionID transactionID = kAnyTransactionID);
    // An event addressed to an application by bundle identifier ('bund', UTF-8).
    static AppleEvent toBundleIdentifier(AEEventClass eventClass, AEEventID eventID,
                                         std::string_view bundleIdentifier);
    // The reply to `request`: 'aevt'/'ansr' with the request's return and transaction IDs
    // and no parameters yet.
    static AppleEvent replyTo(const AppleEvent& request);

    bool isNull() const { return eventClass_ == 0 && eventID_ == 0; }
    bool isReply() const { return eventClass_ == kCoreEventClass && eventID_ == kAEAnswer; }
    AEEventClass eventClass() const { return eventClass_; }
    AEEventID eventID() const { return eventID_; }
    const AEDesc& target() const { return target_; }
    // The target's bundle identifier when it is addressed by one.
    std::optional<std::string> targetBundleIdentifier() const { return target_.bundleIdentifierValue(); }
    AEReturnID returnID() const { return returnID_; }
    void setReturnID(AEReturnID id) { returnID_ = id; }
    AETransactionID transactionID() const { return transactionID_; }

    // Parameters: a 'reco' of keyword → descriptor in the order they were first set.
    const AEDesc& parameters() const { return parameters_; }
    // Replaces every parameter with the entries of a record (as a 'reco'); other shapes
    // leave no parameters.
    void setParameters(AEDesc record);
    void setParam(AEKeyword keyword, AEDesc value) { parameters_.setParam(keyword, std::move(value)); }
    const AEDesc* param(AEKeyword keyword) const { return parameters_.param(keyword); }
    bool removeParam(AEKeyword keyword) { return parameters_.removeParam(keyword); }
    // The direct object '----', nullptr when absent.
    const AEDesc* directObject() const { return param(keyDirectObject); }

    // Reply errors: 'errn' as 'long' and, when `message` is not empty, 'errs' as 'TEXT' in
    // Mac OS Roman (or 'utf8' for text Mac OS Roman cannot hold).
    void setError(OSStatus number, std::string_view message = {});
    std::optional<OSStatus> errorNumber() const;
    std::optional<std::string> errorString() const;

    friend bool operator==(const AppleEvent&, const AppleEvent&) = default;

private:
    AEEventClass eventClass_ = 0;
    AEEventID eventID_ = 0;
    AEDesc target_;
    AEReturnID returnID_ = kAutoGenerateReturnID;
    AETransactionID transactionID_ = kAnyTransactionID;
    AEDesc parameters_ = AEDesc::record();
};

} // namespace platform::appleevents
