#pragma once

#include "platform/foundation/Date.h"
#include "platform/foundation/Value.h"

#include <optional>

namespace lumetta {

// When the display alarm of a new to-do goes off: on its due day, at the time of day the
// user chose ("lumettaAlarmTime", hour and minute joined by ":").
class ICalAlarmTime {
public:
    // The due date's year, month and day in the Gregorian calendar and the current time
    // zone, at the hour and minute of `alarmTime`, seconds 0. Only text of exactly two
    // parts gives an alarm: "7" and "7:00:00" give none. Out-of-range numbers roll over as
    // a calendar does ("25:00" is 01:00 the next day).
    static std::optional<platform::Date> onDueDay(const platform::Date& due,
                                                  const platform::Value& alarmTime);
};

} // namespace lumetta
