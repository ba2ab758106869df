#pragma once

#include <mutex>

namespace platform {

// A plain mutual-exclusion lock in the shape the plug-in's side tables use: each
// table has exactly one, held only while the table is looked up or changed.
class Lock {
public:
    void lock() { mutex_.lock(); }
    void unlock() { mutex_.unlock(); }
    bool tryLock() { return mutex_.try_lock(); }

    class Guard {
    public:
        explicit Guard(Lock& lock) : lock_(lock) { lock_.lock(); }
        ~Guard() { lock_.unlock(); }
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;

    private:
        Lock& lock_;
    };

private:
    std::mutex mutex_;
};

} // namespace platform
