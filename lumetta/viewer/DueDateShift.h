#pragma once

#include "platform/foundation/Date.h"

namespace lumetta {

// Shifting a due date by whole days the way the commands always have: the day count
// times 86,400 is worked out as a 32-bit signed product (wrapping beyond about 68
// years), added to the date's seconds in double precision, and the sum truncated
// toward zero to a 32-bit signed count of seconds, so a shifted date has no fraction
// of a second. A sum outside the 32-bit range becomes the lowest 32-bit value, as the
// processor's conversion gives.
class DueDateShift {
public:
    static platform::Date shifted(platform::Date from, int days);
};

} // namespace lumetta
