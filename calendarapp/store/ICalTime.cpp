#include "calendarapp/store/ICalTime.h"

#include <cmath>
#include <ctime>

namespace calendarapp {

namespace {

constexpr double kFirstUnixSecond = -2208988800.0; // 1900-01-01T00:00:00Z
constexpr double kLastUnixSecond = 253402300799.0; // 9999-12-31T23:59:59Z

} // namespace

std::optional<platform::Date> ICalTime::toDate(const icaltimetype& time) {
    if (icaltime_is_null_time(time) || !icaltime_is_valid_time(time))
        return std::nullopt;
    if (!time.is_date && time.zone != nullptr) {
        // libical takes the zone the time is given in and converts from it to UTC.
        const time_t seconds = icaltime_as_timet_with_zone(time, time.zone);
        return platform::Date::fromUnix(static_cast<double>(seconds));
    }
    std::tm local{};
    local.tm_year = time.year - 1900;
    local.tm_mon = time.month - 1;
    local.tm_mday = time.day;
    if (!time.is_date) {
        local.tm_hour = time.hour;
        local.tm_min = time.minute;
        local.tm_sec = time.second;
    }
    local.tm_isdst = -1;
    const time_t seconds = std::mktime(&local);
    return platform::Date::fromUnix(static_cast<double>(seconds));
}

icaltimetype ICalTime::utc(platform::Date date) {
    const auto seconds = static_cast<time_t>(std::llround(date.unixSeconds()));
    return icaltime_from_timet_with_zone(seconds, 0, icaltimezone_get_utc_timezone());
}

bool ICalTime::representable(platform::Date date) {
    const double unix = date.unixSeconds();
    return std::isfinite(unix) && unix >= kFirstUnixSecond && unix <= kLastUnixSecond;
}

} // namespace calendarapp
