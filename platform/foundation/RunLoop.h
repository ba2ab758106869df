#pragma once

#include <functional>

namespace platform {

// The main thread's run loop, as the front end (command line or desktop) provides it.
// All user-interface work, calendar events and the periodic refresh run on it.
class RunLoop {
public:
    using Task = std::function<void()>;

    virtual ~RunLoop() = default;

    // Runs `task` on the main thread. From the main thread with `waitUntilDone` it runs
    // at once; without, it runs on a later turn of the loop. From another thread with
    // `waitUntilDone` the caller blocks until the task has run.
    virtual void performOnMainThread(Task task, bool waitUntilDone) = 0;
    // Runs `task` on the main thread once at least `seconds` have passed.
    virtual void performAfterDelay(Task task, double seconds) = 0;
    virtual bool isMainThread() const = 0;

    // The process's main run loop; nullptr until a front end installs one.
    static RunLoop* main();
    static void setMain(RunLoop* loop);
};

} // namespace platform
