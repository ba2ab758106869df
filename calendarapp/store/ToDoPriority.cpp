#include "calendarapp/store/ToDoPriority.h"

namespace calendarapp {

int ToDoPriority::normalised(int iCalendarPriority) {
    if (iCalendarPriority >= 1 && iCalendarPriority <= 4)
        return kHigh;
    if (iCalendarPriority == 5)
        return kMedium;
    if (iCalendarPriority >= 6 && iCalendarPriority <= 9)
        return kLow;
    return kNone;
}

} // namespace calendarapp
