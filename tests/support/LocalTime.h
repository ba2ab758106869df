#pragma once

#include "platform/foundation/Date.h"

#include <ctime>

namespace testsupport {

// A wall-clock time in the test's pinned time zone.
inline platform::Date localTime(int year, int month, int day, int hour, int minute) {
    std::tm tm{};
    tm.tm_year = year - 1900;
    tm.tm_mon = month - 1;
    tm.tm_mday = day;
    tm.tm_hour = hour;
    tm.tm_min = minute;
    tm.tm_isdst = -1;
    return platform::Date::fromUnix(static_cast<double>(std::mktime(&tm)));
}

} // namespace testsupport
