#pragma once

#include "platform/foundation/Date.h"

#include <libical/ical.h>
#include <optional>

namespace calendarapp {

// Between libical's times and platform dates. Internal to the store: only its sources
// see libical.
class ICalTime {
public:
    // The instant a stored time stands for. UTC times and times in a known zone convert
    // exactly; floating times are local, and a whole day is its local midnight (as
    // to-do programs show a due day). Null or invalid times, and times that name no real
    // moment (November 31st, 25:60), have no date.
    static std::optional<platform::Date> toDate(const icaltimetype& time);

    // The UTC date-time the store writes, to the whole second.
    static icaltimetype utc(platform::Date date);

    // Whether `date` lies in the years an item file can hold (1900-9999).
    static bool representable(platform::Date date);
};

} // namespace calendarapp
