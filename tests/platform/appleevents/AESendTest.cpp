#include "platform/appleevents/AESend.h"

#include "platform/appleevents/AEHandlerTable.h"
#include "platform/appleevents/AEInProcessTransport.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <vector>

namespace platform::appleevents {
namespace {

constexpr AEEventClass kCore = fourCharCode("core");
constexpr AEEventID kGet = fourCharCode("getd");

// An application that answers every event with its own return ID and notes what it saw.
class InProcess : public ::testing::Test {
protected:
    void SetUp() override {
        transport.addApplication("com.apple.iCal", [this](const AppleEvent& event) {
            seen.push_back(event);
            AppleEvent reply = AppleEvent::replyTo(event);
            reply.setParam(keyDirectObject, AEDesc::longInteger(event.returnID()));
            return reply;
        });
    }

    AppleEvent get() const { return AppleEvent::toBundleIdentifier(kCore, kGet, "com.apple.iCal"); }

    AEInProcessTransport transport;
    ScopedAETransport installed{transport};
    std::vector<AppleEvent> seen;
};

// The reply mode decides whether an answer comes back; the other classic bits are
// accepted, unknown bits and a missing reply mode are not.
TEST_F(InProcess, SendModes) {
    struct Case {
        AESendMode mode;
        OSStatus status;
        bool delivered;
        bool replied;
    };
    const Case cases[] = {
        {kAEWaitReply | kAENeverInteract, noErr, true, true},
        {kAENoReply | kAENeverInteract, noErr, true, false},
        {kAEQueueReply | kAECanInteract, noErr, true, false},
        {kAEWaitReply | kAEAlwaysInteract | kAEDontRecord | kAECanSwitchLayer, noErr, true, true},
        {kAENeverInteract, errAEUnknownSendMode, false, false},
        {kAEWaitReply | 0x00100000, errAEUnknownSendMode, false, false},
    };
    for (const Case& c : cases) {
        seen.clear();
        AppleEvent reply = get(); // anything but null: the send must reset it
        EXPECT_EQ(AESendMessage(get(), &reply, c.mode, kAEDefaultTimeout), c.status) << c.mode;
        EXPECT_EQ(seen.size(), c.delivered ? 1u : 0u) << c.mode;
        EXPECT_EQ(!reply.isNull(), c.replied) << c.mode;
    }
}

TEST_F(InProcess, TimeoutsAndAddresses) {
    AppleEvent reply;
    EXPECT_EQ(AESendMessage(get(), &reply, 0x13, kNoTimeOut), noErr);
    EXPECT_EQ(AESendMessage(get(), &reply, 0x13, 0), noErr); // an answer already there is in time
    EXPECT_EQ(AESendMessage(get(), &reply, 0x13, -3), paramErr);
    EXPECT_EQ(AESendMessage(get(), nullptr, 0x13, kAEDefaultTimeout), noErr);
    EXPECT_EQ(
        AESendMessage(AppleEvent::toBundleIdentifier(kCore, kGet, "org.example.absent"), &reply, 0x13, -1),
        procNotFound);
    EXPECT_EQ(AESendMessage(AppleEvent(kCore, kGet, AEDesc::text("com.apple.iCal")), &reply, 0x13, -1),
              errAEUnknownAddressType);
}

// Each send gets a fresh return ID, which its reply carries; a fixed one is kept.
TEST_F(InProcess, ReturnIDsPairRepliesWithRequests) {
    AppleEvent first, second, fixed;
    ASSERT_EQ(AESendMessage(get(), &first, 0x13, -1), noErr);
    ASSERT_EQ(AESendMessage(get(), &second, 0x13, -1), noErr);
    EXPECT_GT(first.returnID(), 0);
    EXPECT_NE(first.returnID(), second.returnID());
    EXPECT_EQ(first.directObject()->int32Value(), first.returnID());
    ASSERT_EQ(AESendMessage(AppleEvent(kCore, kGet, AEDesc::bundleIdentifier("com.apple.iCal"), 77), &fixed,
                            0x13, -1),
              noErr);
    EXPECT_EQ(fixed.returnID(), 77);
}

// Whatever a handler does, the sender gets a reply addressed to its request: a handler's
// own event is readdressed, a throwing handler answers an error, an unknown event is
// not handled.
TEST_F(InProcess, HandlersAlwaysAnswerTheRequest) {
    AEHandlerTable table;
    table.install(kCore, kGet, [](const AppleEvent&) {
        AppleEvent wrong(fourCharCode("misc"), fourCharCode("actv"), AEDesc(), 999);
        wrong.setParam(keyDirectObject, AEDesc::text("answer"));
        return wrong;
    });
    table.install(kCore, fourCharCode("delo"),
                  [](const AppleEvent&) -> AppleEvent { throw std::runtime_error("store is read-only"); });
    transport.addApplication("org.lumetta.table", table.handler());
    const auto send = [](AEEventID id, AppleEvent& reply) {
        return AESendMessage(AppleEvent::toBundleIdentifier(kCore, id, "org.lumetta.table"), &reply, 0x13,
                             -1);
    };

    AppleEvent reply;
    ASSERT_EQ(send(kGet, reply), noErr);
    EXPECT_TRUE(reply.isReply());
    EXPECT_EQ(reply.directObject()->textBytes(), "answer");
    ASSERT_EQ(send(fourCharCode("delo"), reply), noErr);
    EXPECT_EQ(reply.errorNumber(), errAEEventFailed);
    EXPECT_EQ(reply.errorString(), "store is read-only");
    ASSERT_EQ(send(fourCharCode("cnte"), reply), noErr);
    EXPECT_EQ(reply.errorNumber(), errAEEventNotHandled);
}

} // namespace
} // namespace platform::appleevents
