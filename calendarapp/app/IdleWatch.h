#pragma once

#include "platform/appleevents/AEEventHandler.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace calendarapp {

// Ends an application nobody asks anything of. Started on demand by a client, the
// calendar has no user to quit it, and every client command would otherwise leave one
// more running behind. Once no request has been handled for the period, `onIdle` runs
// once, on a thread of the watch's own. A request being handled is no idleness however
// long it takes; a connection that sends nothing does not count as a request.
//
//     IdleWatch idle(std::chrono::seconds(300));
//     auto server = AEServer::listen(id, idle.watching(calendar.handler()));
//     idle.start([&] { server.value()->stop(); });
//     server.value()->run();
//     idle.stop();
class IdleWatch {
public:
    explicit IdleWatch(std::chrono::milliseconds period) : period_(period) {}
    ~IdleWatch() { stop(); }
    IdleWatch(const IdleWatch&) = delete;
    IdleWatch& operator=(const IdleWatch&) = delete;

    // `inner` with every request it handles counted as activity; the watch must outlive it.
    platform::appleevents::AEEventHandler watching(platform::appleevents::AEEventHandler inner);
    // Starts watching; the period counts from now.
    void start(std::function<void()> onIdle);
    // Stops watching and waits for the watching thread; `onIdle` does not run afterwards.
    void stop();

private:
    void requestBegan();
    void requestEnded();
    void watch();

    const std::chrono::milliseconds period_;
    std::function<void()> onIdle_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::chrono::steady_clock::time_point lastActivity_;
    int handling_ = 0;
    bool stopping_ = false;
    std::thread thread_;
};

} // namespace calendarapp
