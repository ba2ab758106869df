#include "platform/appleevents/AEDeadline.h"

#include "platform/appleevents/AECodes.h"

#include <limits>

namespace platform::appleevents {

AEDeadline deadlineAfterTicks(long ticks, bool& valid) {
    valid = true;
    if (ticks == kNoTimeOut)
        return std::nullopt;
    if (ticks == kAEDefaultTimeout)
        ticks = kAEDefaultTimeoutTicks;
    if (ticks < 0) {
        valid = false;
        return std::nullopt;
    }
    // A tick is 1/60 s; more than a year of ticks is as good as none.
    constexpr long kYearOfTicks = 60L * 60 * 60 * 24 * 366;
    if (ticks > kYearOfTicks)
        return std::nullopt;
    return std::chrono::steady_clock::now() + std::chrono::microseconds(ticks * 1000000L / 60);
}

int pollMilliseconds(const AEDeadline& deadline) {
    if (!deadline)
        return -1;
    const auto left = *deadline - std::chrono::steady_clock::now();
    if (left <= std::chrono::steady_clock::duration::zero())
        return 0;
    const auto ms = std::chrono::ceil<std::chrono::milliseconds>(left).count();
    return ms > std::numeric_limits<int>::max() ? std::numeric_limits<int>::max() : static_cast<int>(ms);
}

bool hasPassed(const AEDeadline& deadline) {
    return deadline && std::chrono::steady_clock::now() >= *deadline;
}

} // namespace platform::appleevents
