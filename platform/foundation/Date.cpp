#include "platform/foundation/Date.h"

#include <chrono>
#include <mutex>

namespace platform {

namespace {
std::mutex& sourceMutex() {
    static std::mutex m;
    return m;
}
Clock::Source& source() {
    static Clock::Source s;
    return s;
}
} // namespace

Date Clock::systemNow() {
    using namespace std::chrono;
    const auto since = system_clock::now().time_since_epoch();
    return Date::fromUnix(duration_cast<duration<double>>(since).count());
}

Date Clock::now() {
    std::lock_guard lock(sourceMutex());
    return source() ? source()() : systemNow();
}

void Clock::setSource(Source s) {
    std::lock_guard lock(sourceMutex());
    source() = std::move(s);
}

ScopedFixedClock::ScopedFixedClock(Date fixed) : fixed_(fixed) {
    Clock::setSource([this] { return fixed_; });
}

ScopedFixedClock::~ScopedFixedClock() {
    Clock::setSource({});
}

} // namespace platform
