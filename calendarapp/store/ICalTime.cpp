#include "calendarapp/store/ICalTime.h"

#include <cmath>
#include <ctime>

namespace calendarapp {

namespace {

constexpr double kFirstUnixSecond = -2208988800.0; // 1900-01-01T00:00:00Z
constexpr double kLastUnixSecond = 253402300799.0; // 9999-12-31T23:59:59Z

// libical reads "20261131" or "T256000" digit by digit and keeps the numbers; converting
// them would roll over into another day, so a time that names no real moment has none.
bool namesARealMoment(const icaltimetype& time) {
    if (time.month < 1 || time.month > 12 || time.day < 1 ||
        time.day > icaltime_days_in_month(time.month, time.year))
        return false;
    // A second of 60 is a leap second, which the day does have.
    return time.is_date || (time.hour >= 0 && time.hour < 24 && time.minute >= 0 && time.minute < 60 &&
                            time.second >= 0 && time.second <= 60);
}

} // namespace

std::optional<platform::Date> ICalTime::toDate(const icaltimetype& time) {
    if (icaltime_is_null_time(time) || !icaltime_is_valid_time(time) || !namesARealMoment(time))
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
