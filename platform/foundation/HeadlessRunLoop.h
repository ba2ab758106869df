#pragma once

#include "platform/foundation/RunLoop.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace platform {

// The main run loop of the command line and of tests: a queue of performs and a list
// of timers, run on the thread that created the loop. Timers read a replaceable
// monotonic time source, so tests can check and advance delays without sleeping.
class HeadlessRunLoop : public RunLoop {
public:
    using TimeSource = std::function<double()>;

    HeadlessRunLoop();
    ~HeadlessRunLoop() override;

    void performOnMainThread(Task task, bool waitUntilDone) override;
    void performAfterDelay(Task task, double seconds) override;
    bool isMainThread() const override;

    // Runs until stop() (callable from any thread, also before run() starts).
    void run();
    void stop();
    // Runs what is queued and the timers that are due, waiting up to `timeoutSeconds`
    // for work when there is none; true when anything ran.
    bool runOnce(double timeoutSeconds);
    // Runs queued performs and due timers until none is left; timers armed meanwhile
    // wait for a later turn, so a timer that re-arms itself cannot keep this going.
    void runUntilIdle();
    void runFor(double seconds);

    void setTimeSource(TimeSource source);
    std::size_t pendingPerformCount() const;
    // Remaining seconds of each pending timer, soonest first.
    std::vector<double> pendingTimerDelays() const;

private:
    // A cross-thread caller waits on its own waiter, never on the loop's state, so the
    // loop may be destroyed while it waits.
    struct Waiter {
        std::mutex mutex;
        std::condition_variable cv;
        bool done = false;
        void finish() {
            std::lock_guard lock(mutex);
            done = true;
            cv.notify_all();
        }
    };
    struct Item {
        Task task;
        std::shared_ptr<Waiter> waiter;
    };

    double now() const;
    // Runs one batch of queued items and of due timers armed before `timerLimit`.
    bool runPending(std::uint64_t timerLimit = UINT64_MAX);

    std::thread::id mainThread_;
    mutable std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Item> queue_;
    std::multimap<std::pair<double, std::uint64_t>, Task> timers_;
    std::uint64_t timerSequence_ = 0;
    TimeSource timeSource_;
    bool stopped_ = false;
};

} // namespace platform
