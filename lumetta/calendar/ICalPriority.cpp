#include "lumetta/calendar/ICalPriority.h"

#include "lumetta/calendar/ICalCodes.h"

namespace lumetta {

platform::appleevents::OSType ICalPriority::toCalendar(int priority) {
    if (priority == 0)
        return ICalCodes::kPriorityNone;
    if (priority < 3)
        return ICalCodes::kPriorityLow;
    if (priority == 3)
        return ICalCodes::kPriorityMedium;
    return ICalCodes::kPriorityHigh;
}

int ICalPriority::fromCalendar(std::optional<platform::appleevents::OSType> level) {
    if (level == ICalCodes::kPriorityLow)
        return 1;
    if (level == ICalCodes::kPriorityMedium)
        return 3;
    if (level == ICalCodes::kPriorityHigh)
        return 5;
    return 0;
}

} // namespace lumetta
