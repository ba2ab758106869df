#pragma once

#include <chrono>
#include <optional>

namespace platform::appleevents {

// When waiting for an application must stop; no value waits for ever.
using AEDeadline = std::optional<std::chrono::steady_clock::time_point>;

// The deadline `ticks` (1/60 s) from now, kAEDefaultTimeout (-1) giving about a minute and
// kNoTimeOut (-2) none; nullopt in `valid` for other negative counts.
AEDeadline deadlineAfterTicks(long ticks, bool& valid);

// Milliseconds left for poll(): -1 without a deadline, 0 once it has passed, and rounded
// up so a wait never ends before the deadline.
int pollMilliseconds(const AEDeadline& deadline);

bool hasPassed(const AEDeadline& deadline);

} // namespace platform::appleevents
