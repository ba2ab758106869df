#include "platform/foundation/HeadlessRunLoop.h"

#include <algorithm>
#include <chrono>

namespace platform {

namespace {
double steadySeconds() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}
} // namespace

HeadlessRunLoop::HeadlessRunLoop() : mainThread_(std::this_thread::get_id()) {}

HeadlessRunLoop::~HeadlessRunLoop() {
    // A thread still waiting for its perform must not hang: release it unrun.
    std::deque<Item> abandoned;
    {
        std::lock_guard lock(mutex_);
        abandoned.swap(queue_);
    }
    for (auto& item : abandoned)
        if (item.waiter)
            item.waiter->finish();
    if (RunLoop::main() == this)
        RunLoop::setMain(nullptr);
}

bool HeadlessRunLoop::isMainThread() const {
    return std::this_thread::get_id() == mainThread_;
}

double HeadlessRunLoop::now() const {
    TimeSource source;
    {
        std::lock_guard lock(mutex_);
        source = timeSource_;
    }
    return source ? source() : steadySeconds();
}

void HeadlessRunLoop::setTimeSource(TimeSource source) {
    std::lock_guard lock(mutex_);
    timeSource_ = std::move(source);
}

void HeadlessRunLoop::performOnMainThread(Task task, bool waitUntilDone) {
    if (waitUntilDone && isMainThread()) {
        task();
        return;
    }
    auto waiter = waitUntilDone ? std::make_shared<Waiter>() : nullptr;
    {
        std::lock_guard lock(mutex_);
        queue_.push_back({std::move(task), waiter});
        wake_.notify_all();
    }
    if (waiter) {
        std::unique_lock lock(waiter->mutex);
        waiter->cv.wait(lock, [&] { return waiter->done; });
    }
}

void HeadlessRunLoop::performAfterDelay(Task task, double seconds) {
    const double due = now() + std::max(0.0, seconds);
    std::lock_guard lock(mutex_);
    timers_.emplace(std::make_pair(due, timerSequence_++), std::move(task));
    wake_.notify_all();
}

std::size_t HeadlessRunLoop::pendingPerformCount() const {
    std::lock_guard lock(mutex_);
    return queue_.size();
}

std::vector<double> HeadlessRunLoop::pendingTimerDelays() const {
    const double t = now();
    std::lock_guard lock(mutex_);
    std::vector<double> delays;
    for (const auto& [key, task] : timers_)
        delays.push_back(std::max(0.0, key.first - t));
    return delays;
}

bool HeadlessRunLoop::runPending(std::uint64_t timerLimit) {
    std::deque<Item> batch;
    {
        std::lock_guard lock(mutex_);
        batch.swap(queue_);
    }
    bool ran = !batch.empty();
    for (auto& item : batch) {
        item.task();
        if (item.waiter)
            item.waiter->finish();
    }
    // Timers that are due now; ones they arm run on a later pass.
    const double t = now();
    std::vector<Task> due;
    {
        std::lock_guard lock(mutex_);
        for (auto it = timers_.begin(); it != timers_.end() && it->first.first <= t;) {
            if (it->first.second >= timerLimit) {
                ++it;
                continue;
            }
            due.push_back(std::move(it->second));
            it = timers_.erase(it);
        }
    }
    for (auto& task : due)
        task();
    return ran || !due.empty();
}

bool HeadlessRunLoop::runOnce(double timeoutSeconds) {
    if (runPending())
        return true;
    const double t = now();
    std::unique_lock lock(mutex_);
    double wait = timeoutSeconds;
    if (!timers_.empty())
        wait = std::min(wait, std::max(0.0, timers_.begin()->first.first - t));
    if (queue_.empty() && !stopped_ && wait > 0)
        wake_.wait_for(lock, std::chrono::duration<double>(wait));
    lock.unlock();
    return runPending();
}

void HeadlessRunLoop::runUntilIdle() {
    std::uint64_t limit = 0;
    {
        std::lock_guard lock(mutex_);
        limit = timerSequence_;
    }
    while (runPending(limit)) {
    }
}

void HeadlessRunLoop::runFor(double seconds) {
    const double end = steadySeconds() + seconds;
    for (double left = seconds; left > 0; left = end - steadySeconds())
        runOnce(left);
}

void HeadlessRunLoop::run() {
    for (;;) {
        {
            std::lock_guard lock(mutex_);
            if (stopped_) {
                stopped_ = false; // the next run() runs again
                return;
            }
        }
        runOnce(1.0);
    }
}

void HeadlessRunLoop::stop() {
    std::lock_guard lock(mutex_);
    stopped_ = true;
    wake_.notify_all();
}

} // namespace platform
