#include "platform/foundation/HeadlessRunLoop.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

using namespace platform;

namespace {

// Performs from the main thread: waiting runs at once, not waiting runs later.
TEST(HeadlessRunLoop, MainThreadPerformsRunInlineOnlyWhenWaiting) {
    HeadlessRunLoop loop;
    std::vector<std::string> order;
    loop.performOnMainThread([&] { order.push_back("queued"); }, false);
    loop.performOnMainThread([&] { order.push_back("inline"); }, true);
    EXPECT_EQ(order, std::vector<std::string>{"inline"});
    loop.runUntilIdle();
    EXPECT_EQ(order, (std::vector<std::string>{"inline", "queued"}));
}

// A waiting perform from another thread runs on the main thread and returns after.
TEST(HeadlessRunLoop, OtherThreadsWaitForTheirPerformOnTheMainThread) {
    HeadlessRunLoop loop;
    std::atomic<bool> ranOnMain{false}, returned{false};
    std::thread worker([&] {
        loop.performOnMainThread([&] { ranOnMain = loop.isMainThread(); }, true);
        returned = true;
        loop.stop();
    });
    loop.run();
    worker.join();
    EXPECT_TRUE(ranOnMain);
    EXPECT_TRUE(returned);
}

TEST(HeadlessRunLoop, DestroyingTheLoopReleasesWaitingThreads) {
    auto loop = std::make_unique<HeadlessRunLoop>();
    std::atomic<bool> returned{false};
    std::thread worker([&] {
        loop->performOnMainThread([] {}, true);
        returned = true;
    });
    while (loop->pendingPerformCount() == 0)
        std::this_thread::yield();
    loop.reset();
    worker.join();
    EXPECT_TRUE(returned);
}

// Timers run by due time, then in the order armed, on a time source tests control.
TEST(HeadlessRunLoop, DelayedPerformsRunInDueOrderOnceTheirTimeComes) {
    HeadlessRunLoop loop;
    double now = 1000.0;
    loop.setTimeSource([&] { return now; });
    std::vector<int> order;
    loop.performAfterDelay([&] { order.push_back(120); }, 120);
    loop.performAfterDelay([&] { order.push_back(85); }, 85);
    loop.performAfterDelay([&] { order.push_back(0); }, 0);
    loop.performAfterDelay([&] { order.push_back(86); }, 85);
    EXPECT_EQ(loop.pendingTimerDelays(), (std::vector<double>{0, 85, 85, 120}));
    loop.runUntilIdle();
    EXPECT_EQ(order, std::vector<int>{0});
    now += 100;
    loop.runUntilIdle();
    EXPECT_EQ(order, (std::vector<int>{0, 85, 86}));
    EXPECT_EQ(loop.pendingTimerDelays(), std::vector<double>{20});
}

// A timer that re-arms itself with no delay runs once per turn of the loop, and never
// keeps runOnce or runUntilIdle from returning.
TEST(HeadlessRunLoop, ATimerThatReArmsItselfRunsOncePerTurn) {
    HeadlessRunLoop loop;
    double now = 0;
    loop.setTimeSource([&] { return now; });
    int runs = 0;
    std::function<void()> tick = [&] {
        ++runs;
        loop.performAfterDelay(tick, 0);
    };
    loop.performAfterDelay(tick, 0);
    loop.runOnce(0);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(loop.pendingTimerDelays().size(), 1u);
    loop.runUntilIdle();
    EXPECT_EQ(runs, 2);
    loop.runUntilIdle();
    EXPECT_EQ(runs, 3);
}

TEST(HeadlessRunLoop, StopBeforeRunIsNotLost) {
    HeadlessRunLoop loop;
    loop.stop();
    loop.run(); // returns at once
    int ran = 0;
    loop.performOnMainThread(
        [&] {
            ++ran;
            loop.stop();
        },
        false);
    loop.run(); // runs again after a stop
    EXPECT_EQ(ran, 1);
}

} // namespace
