#pragma once

#include "platform/foundation/Date.h"

#include <string>
#include <string_view>

namespace platform {

// Renders dates with the `%`-conversions of the classic calendar-date format, in the
// local time zone (TZ) with English names:
//   %a Mon   %A Monday   %b Jan   %B January   %d 01-31   %e 1-31   %j 001-366
//   %H 00-23 %I 01-12    %p AM/PM %M 00-59     %S 00-59   %F milliseconds 000-999
//   %m 01-12 %y 00-99    %Y year, at least 4 digits   %w weekday 0-6 from Sunday
//   %Z zone abbreviation (CET)   %z offset (+0100)    %% a percent sign
// Any other conversion, and a lone % at the end, are copied as they stand. Fractions of a
// second round down, before 1970 as after.
class CalendarDateFormatter {
public:
    // How note dates are written unless configured otherwise.
    static constexpr std::string_view kDefaultNoteFormat = "%m/%d/%Y";

    // A date the system cannot place in the calendar (not finite, or beyond the range
    // of time_t) formats as an empty string.
    static std::string format(Date date, std::string_view format);
};

} // namespace platform
