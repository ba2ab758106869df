#include "platform/foundation/NotificationCenter.h"

#include "platform/foundation/Value.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace platform;

namespace {

// Delivery matches by name and by sender; nullopt and null observe everything.
TEST(NotificationCenter, DeliversByNameAndSender) {
    NotificationCenter center;
    int sender = 0, other = 0;
    std::vector<std::string> seen;
    center.addObserver("LURulesWereApplied", nullptr,
                       [&](const Notification& n) { seen.push_back("name:" + n.name); });
    center.addObserver(std::nullopt, &sender,
                       [&](const Notification& n) { seen.push_back("sender:" + n.name); });
    center.addObserver(std::nullopt, nullptr, [&](const Notification& n) {
        seen.push_back("all:" + n.name + ":" + n.userInfo.get("count").stringValue());
    });
    center.post("LURulesWereApplied", nullptr, Dictionary{{"count", 2}});
    center.post("LUProjectListWasModified", &sender);
    center.post("LUProjectListWasModified", &other);
    EXPECT_EQ(seen,
              (std::vector<std::string>{"name:LURulesWereApplied", "all:LURulesWereApplied:2",
                                        "sender:LUProjectListWasModified",
                                        "all:LUProjectListWasModified:", "all:LUProjectListWasModified:"}));
}

// Observers may remove themselves and others, or add observers, during delivery.
TEST(NotificationCenter, ObserversMayChangeTheListDuringDelivery) {
    NotificationCenter center;
    std::vector<std::string> seen;
    NotificationCenter::ObserverToken second = 0, first = 0;
    first = center.addObserver("n", nullptr, [&](const Notification&) {
        seen.push_back("first");
        center.removeObserver(first);
        center.removeObserver(second);
        center.addObserver("n", nullptr, [&](const Notification&) { seen.push_back("added"); });
    });
    second = center.addObserver("n", nullptr, [&](const Notification&) { seen.push_back("second"); });
    center.post("n");
    center.post("n");
    EXPECT_EQ(seen, (std::vector<std::string>{"first", "added"}));
}

TEST(NotificationCenter, AnOwnerRemovesAllItsObserversAtOnce) {
    NotificationCenter center;
    int owner = 0, other = 0, calls = 0;
    center.addObserver(
        "a", nullptr, [&](const Notification&) { ++calls; }, &owner);
    center.addObserver(
        "b", nullptr, [&](const Notification&) { ++calls; }, &owner);
    center.addObserver(
        "a", nullptr, [&](const Notification&) { calls += 10; }, &other);
    center.removeObserversOwnedBy(&owner);
    center.removeObserversOwnedBy(nullptr); // observers without an owner are not all removed
    center.post("a");
    center.post("b");
    EXPECT_EQ(calls, 10);
}

TEST(NotificationCenter, HandlersMayPostFurtherNotifications) {
    NotificationCenter center;
    std::vector<std::string> seen;
    center.addObserver("outer", nullptr, [&](const Notification&) {
        seen.push_back("outer");
        center.post("inner");
    });
    center.addObserver("inner", nullptr, [&](const Notification&) { seen.push_back("inner"); });
    center.post("outer");
    EXPECT_EQ(seen, (std::vector<std::string>{"outer", "inner"}));
}

} // namespace
