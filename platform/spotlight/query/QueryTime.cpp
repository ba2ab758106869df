#include "platform/spotlight/query/QueryTime.h"

#include <cmath>
#include <ctime>
#include <memory>
#include <unicode/calendar.h>

namespace platform::spotlight {

namespace {

// Sunday is 0, as in struct tm. Read once: the locale does not change under a running
// program, and building a calendar is costly.
int firstWeekday() {
    static const int first = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::Calendar> calendar(icu::Calendar::createInstance(status));
        if (U_FAILURE(status) || !calendar)
            return 0;
        return static_cast<int>(calendar->getFirstDayOfWeek(status)) - UCAL_SUNDAY;
    }();
    return first;
}

std::tm localMidnight(Date now) {
    const auto t = static_cast<std::time_t>(std::floor(now.unixSeconds()));
    std::tm tm{};
    localtime_r(&t, &tm);
    tm.tm_hour = 0;
    tm.tm_min = 0;
    tm.tm_sec = 0;
    return tm;
}

Date fromLocal(std::tm tm) {
    tm.tm_isdst = -1;
    return Date::fromUnix(static_cast<double>(std::mktime(&tm)));
}

// Days since 1970-01-01 of a proleptic Gregorian date.
long long daysFromCivil(long long y, int m, int d) {
    y -= m <= 2 ? 1 : 0;
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const long long yoe = y - era * 400;
    const long long doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const long long doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

int daysInMonth(int year, int month) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
    return month == 2 && leap ? 29 : days[month - 1];
}

// Reads exactly `count` digits.
bool digits(std::string_view text, std::size_t& at, int count, int& out) {
    out = 0;
    for (int i = 0; i < count; ++i, ++at) {
        if (at >= text.size() || text[at] < '0' || text[at] > '9')
            return false;
        out = out * 10 + (text[at] - '0');
    }
    return true;
}

bool expect(std::string_view text, std::size_t& at, char c) {
    if (at < text.size() && text[at] == c) {
        ++at;
        return true;
    }
    return false;
}

} // namespace

Date QueryTime::evaluate(const QueryValue& value, Date now) {
    const int n = static_cast<int>(value.number);
    std::tm tm = localMidnight(now);
    switch (value.time) {
    case TimeFunction::Now:
        return now.addingSeconds(value.number);
    case TimeFunction::Today:
        tm.tm_mday += n;
        break;
    case TimeFunction::Yesterday:
        tm.tm_mday += n - 1;
        break;
    case TimeFunction::ThisWeek:
        tm.tm_mday += 7 * n - (tm.tm_wday - firstWeekday() + 7) % 7;
        break;
    case TimeFunction::ThisMonth:
        tm.tm_mday = 1;
        tm.tm_mon += n;
        break;
    case TimeFunction::ThisYear:
        tm.tm_mday = 1;
        tm.tm_mon = 0;
        tm.tm_year += n;
        break;
    case TimeFunction::Iso:
        return value.iso;
    }
    return fromLocal(tm);
}

std::optional<Date> QueryTime::parseIso(std::string_view text) {
    std::size_t at = 0;
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (!digits(text, at, 4, year) || !expect(text, at, '-') || !digits(text, at, 2, month) ||
        !expect(text, at, '-') || !digits(text, at, 2, day))
        return std::nullopt;
    if (month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month))
        return std::nullopt;
    double fraction = 0.0;
    std::optional<int> offsetMinutes;
    if (at < text.size()) {
        if (!(expect(text, at, 'T') || expect(text, at, ' ')) || !digits(text, at, 2, hour) ||
            !expect(text, at, ':') || !digits(text, at, 2, minute))
            return std::nullopt;
        if (expect(text, at, ':')) {
            if (!digits(text, at, 2, second))
                return std::nullopt;
            if (expect(text, at, '.')) {
                double scale = 0.1;
                const std::size_t first = at;
                for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at, scale /= 10)
                    fraction += (text[at] - '0') * scale;
                if (at == first)
                    return std::nullopt;
            }
        }
        if (hour > 23 || minute > 59 || second > 60)
            return std::nullopt;
        if (expect(text, at, 'Z')) {
            offsetMinutes = 0;
        } else if (at < text.size() && (text[at] == '+' || text[at] == '-')) {
            const int sign = text[at++] == '-' ? -1 : 1;
            int offsetHours = 0, offsetMinute = 0;
            if (!digits(text, at, 2, offsetHours))
                return std::nullopt;
            expect(text, at, ':');
            if (!digits(text, at, 2, offsetMinute) || offsetHours > 23 || offsetMinute > 59)
                return std::nullopt;
            offsetMinutes = sign * (offsetHours * 60 + offsetMinute);
        }
    }
    if (at != text.size())
        return std::nullopt;
    if (!offsetMinutes) {
        std::tm tm{};
        tm.tm_year = year - 1900;
        tm.tm_mon = month - 1;
        tm.tm_mday = day;
        tm.tm_hour = hour;
        tm.tm_min = minute;
        tm.tm_sec = second;
        return fromLocal(tm).addingSeconds(fraction);
    }
    const double unix = static_cast<double>(daysFromCivil(year, month, day)) * 86400.0 + hour * 3600.0 +
                        minute * 60.0 + second - *offsetMinutes * 60.0 + fraction;
    return Date::fromUnix(unix);
}

} // namespace platform::spotlight
