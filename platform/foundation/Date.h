#pragma once

#include <functional>

namespace platform {

// An instant, as seconds since 1 January 2001 00:00:00 GMT (the reference date that
// property lists, defaults and the message files count from).
struct Date {
    double seconds = 0.0;

    // Unix time is 978,307,200 s ahead of the reference date.
    static constexpr double kUnixOffset = 978307200.0;

    static Date fromUnix(double unixSeconds) { return Date{unixSeconds - kUnixOffset}; }
    double unixSeconds() const { return seconds + kUnixOffset; }

    Date addingSeconds(double delta) const { return Date{seconds + delta}; }

    friend bool operator==(const Date&, const Date&) = default;
    friend auto operator<=>(const Date&, const Date&) = default;
};

// "Now", replaceable so that tests can fix time. The default reads the system clock.
class Clock {
public:
    using Source = std::function<Date()>;

    static Date now();
    // Installs a source for now(); an empty function restores the system clock.
    static void setSource(Source source);
    static Date systemNow();
};

// Fixes Clock::now() for the lifetime of the object (tests).
class ScopedFixedClock {
public:
    explicit ScopedFixedClock(Date fixed);
    ~ScopedFixedClock();
    void set(Date fixed) { fixed_ = fixed; }
    ScopedFixedClock(const ScopedFixedClock&) = delete;
    ScopedFixedClock& operator=(const ScopedFixedClock&) = delete;

private:
    Date fixed_;
};

} // namespace platform
