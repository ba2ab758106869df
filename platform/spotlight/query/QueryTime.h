#pragma once

#include "platform/foundation/Date.h"
#include "platform/spotlight/query/QueryNode.h"

#include <optional>
#include <string_view>

namespace platform::spotlight {

// The instants the $time functions name. Days, weeks, months and years are the local time
// zone's (TZ), so "today" starts at local midnight and a day across a clock change is 23 or
// 25 hours long; weeks start on the locale's first weekday.
class QueryTime {
public:
    // Calendar arguments beyond this many units are refused: they would overflow the
    // calendar's arithmetic, and no query means them.
    static constexpr double kMaxCalendarArgument = 100000;

    // The instant of `value` (a Time value) when the current time is `now`.
    static Date evaluate(const QueryValue& value, Date now);
    // An ISO 8601 date ("2026-03-01"), or date and time ("2026-03-01T09:30", seconds and a
    // fraction optional, 'T' or a space between), with "Z" or an offset ("+01:00", "-0500")
    // for a given zone and local time without one.
    static std::optional<Date> parseIso(std::string_view text);
};

} // namespace platform::spotlight
