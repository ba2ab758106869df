#include "platform/foundation/CalendarDateFormatter.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace platform {

namespace {

constexpr const char* kWeekdays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                     "Thursday", "Friday", "Saturday"};
constexpr const char* kMonths[] = {"January", "February", "March",     "April",   "May",      "June",
                                   "July",    "August",   "September", "October", "November", "December"};

void appendNumber(std::string& out, long long value, int width) {
    char digits[32];
    std::snprintf(digits, sizeof digits, "%0*lld", width, value);
    out += digits;
}

} // namespace

std::string CalendarDateFormatter::format(Date date, std::string_view format) {
    const double unixTime = date.unixSeconds();
    // Far beyond any calendar a mail carries, yet safely inside time_t and, counted in
    // microseconds, inside a 64-bit integer.
    constexpr double kLimit = 1e12;
    if (!std::isfinite(unixTime) || std::fabs(unixTime) > kLimit) {
        return {};
    }
    // Dates are stored from 2001, so a time written to the millisecond comes back a
    // fraction of a microsecond off; rounding to whole microseconds first keeps .678 from
    // flooring to .677. Division rounds down, before 1970 as after.
    const long long micros = std::llround(unixTime * 1e6);
    long long wholeSeconds = micros / 1000000;
    long long fraction = micros % 1000000;
    if (fraction < 0) {
        fraction += 1000000;
        --wholeSeconds;
    }
    const auto seconds = static_cast<std::time_t>(wholeSeconds);
    const int millis = static_cast<int>(fraction / 1000);

    // The zone comes from TZ as it is now, which tests and users may change at run time.
    tzset();
    std::tm local{};
    if (localtime_r(&seconds, &local) == nullptr) {
        return {};
    }
    const long long year = static_cast<long long>(local.tm_year) + 1900;

    std::string out;
    out.reserve(format.size() + 16);
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != '%' || i + 1 == format.size()) {
            out.push_back(format[i]);
            continue;
        }
        const char conversion = format[++i];
        switch (conversion) {
        case 'a':
            out.append(kWeekdays[local.tm_wday], 3);
            break;
        case 'A':
            out += kWeekdays[local.tm_wday];
            break;
        case 'b':
            out.append(kMonths[local.tm_mon], 3);
            break;
        case 'B':
            out += kMonths[local.tm_mon];
            break;
        case 'd':
            appendNumber(out, local.tm_mday, 2);
            break;
        case 'e':
            appendNumber(out, local.tm_mday, 1);
            break;
        case 'F':
            appendNumber(out, millis, 3);
            break;
        case 'H':
            appendNumber(out, local.tm_hour, 2);
            break;
        case 'I':
            appendNumber(out, local.tm_hour % 12 == 0 ? 12 : local.tm_hour % 12, 2);
            break;
        case 'j':
            appendNumber(out, local.tm_yday + 1, 3);
            break;
        case 'm':
            appendNumber(out, local.tm_mon + 1, 2);
            break;
        case 'M':
            appendNumber(out, local.tm_min, 2);
            break;
        case 'p':
            out += local.tm_hour < 12 ? "AM" : "PM";
            break;
        case 'S':
            appendNumber(out, local.tm_sec, 2);
            break;
        case 'w':
            appendNumber(out, local.tm_wday, 1);
            break;
        case 'y':
            appendNumber(out, (year % 100 + 100) % 100, 2);
            break;
        case 'Y':
            appendNumber(out, year, 4);
            break;
        case 'Z':
            out += local.tm_zone != nullptr ? local.tm_zone : "";
            break;
        case 'z': {
            const long offset = local.tm_gmtoff;
            const long minutes = std::labs(offset) / 60;
            out.push_back(offset < 0 ? '-' : '+');
            appendNumber(out, minutes / 60 * 100 + minutes % 60, 4);
            break;
        }
        case '%':
            out.push_back('%');
            break;
        default:
            out.push_back('%');
            out.push_back(conversion);
            break;
        }
    }
    return out;
}

} // namespace platform
