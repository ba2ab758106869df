#pragma once

#include "platform/appleevents/OSType.h"

#include <optional>

namespace lumetta {

// Tag priorities (0 none, 1 lowest ... 5 highest) against the calendar's four priority
// levels. The calendar knows only none, low, medium and high, so the way back is lossy
// by design: 2 returns as 1 and 4 as 5.
class ICalPriority {
public:
    // 0 none; 1, 2 and anything negative low; 3 medium; 4 and above high.
    static platform::appleevents::OSType toCalendar(int priority);
    // Low 1, medium 3, high 5; none, an unknown level or no level at all 0.
    static int fromCalendar(std::optional<platform::appleevents::OSType> level);
};

} // namespace lumetta
