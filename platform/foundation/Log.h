#pragma once

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// The system log: one line per call, under the running program's name. Set
// LUMETTA_LOG_STDERR=1 to see the lines on standard error as well.
class Log {
public:
    static void line(std::string_view text);
};

// While alive, log lines go to this capture instead of the system log (tests).
class ScopedLogCapture {
public:
    ScopedLogCapture();
    ~ScopedLogCapture();
    ScopedLogCapture(const ScopedLogCapture&) = delete;
    ScopedLogCapture& operator=(const ScopedLogCapture&) = delete;

    std::vector<std::string> lines() const;
    bool contains(std::string_view fragment) const;
    void clear();

private:
    friend class Log;
    void add(std::string_view text);

    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
    ScopedLogCapture* previous_;
};

} // namespace platform
