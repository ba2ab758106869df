#include "calendarapp/app/IdleWatch.h"

namespace calendarapp {

using platform::appleevents::AEEventHandler;
using platform::appleevents::AppleEvent;

AEEventHandler IdleWatch::watching(AEEventHandler inner) {
    return [this, inner = std::move(inner)](const AppleEvent& request) {
        requestBegan();
        // Ended however the handler leaves, so that a failed request is no busy forever.
        struct Ended {
            IdleWatch& watch;
            ~Ended() { watch.requestEnded(); }
        } ended{*this};
        return inner(request);
    };
}

void IdleWatch::start(std::function<void()> onIdle) {
    std::lock_guard lock(mutex_);
    if (thread_.joinable())
        return;
    onIdle_ = std::move(onIdle);
    lastActivity_ = std::chrono::steady_clock::now();
    stopping_ = false;
    thread_ = std::thread([this] { watch(); });
}

void IdleWatch::stop() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    changed_.notify_all();
    if (thread_.joinable())
        thread_.join();
}

void IdleWatch::requestBegan() {
    std::lock_guard lock(mutex_);
    ++handling_;
}

void IdleWatch::requestEnded() {
    {
        std::lock_guard lock(mutex_);
        --handling_;
        lastActivity_ = std::chrono::steady_clock::now();
    }
    changed_.notify_all();
}

void IdleWatch::watch() {
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        if (handling_ > 0) {
            changed_.wait(lock);
            continue;
        }
        const auto due = lastActivity_ + period_;
        if (std::chrono::steady_clock::now() >= due) {
            lock.unlock();
            onIdle_();
            return;
        }
        changed_.wait_until(lock, due);
    }
}

} // namespace calendarapp
