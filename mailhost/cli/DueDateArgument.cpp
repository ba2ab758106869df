#include "mailhost/cli/DueDateArgument.h"

#include <cctype>
#include <charconv>
#include <ctime>
#include <optional>
#include <string>

namespace mailhost {

namespace {

std::optional<int> number(std::string_view text, std::size_t pos, std::size_t count) {
    if (pos + count > text.size())
        return std::nullopt;
    for (std::size_t i = pos; i < pos + count; ++i)
        if (!std::isdigit(static_cast<unsigned char>(text[i])))
            return std::nullopt;
    int n = 0;
    std::from_chars(text.data() + pos, text.data() + pos + count, n);
    return n;
}

std::string lower(std::string_view text) {
    std::string out(text);
    for (char& ch : out)
        ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    return out;
}

// Seconds east of UTC for Z, +HH:MM, +HHMM or +HH; nullopt when malformed.
std::optional<int> zoneOffset(std::string_view zone) {
    if (zone == "Z" || zone == "z")
        return 0;
    if (zone.size() < 3 || (zone[0] != '+' && zone[0] != '-'))
        return std::nullopt;
    const int sign = zone[0] == '-' ? -1 : 1;
    auto hours = number(zone, 1, 2);
    std::optional<int> minutes = 0;
    if (zone.size() == 6 && zone[3] == ':')
        minutes = number(zone, 4, 2);
    else if (zone.size() == 5)
        minutes = number(zone, 3, 2);
    else if (zone.size() != 3)
        return std::nullopt;
    if (!hours || !minutes || *hours > 23 || *minutes > 59)
        return std::nullopt;
    return sign * (*hours * 3600 + *minutes * 60);
}

platform::Error notADate(std::string_view text, const std::string& why) {
    return platform::makeError("--due \"" + std::string(text) + "\": " + why +
                               "; give a date such as 2026-11-22 or 2026-11-22T09:30, or on, off or none");
}

} // namespace

platform::Result<DueDateArgument::Reading> DueDateArgument::read(std::string_view text) {
    const std::string word = lower(text);
    if (word == "on")
        return Reading{Kind::On, {}};
    if (word == "off")
        return Reading{Kind::Off, {}};
    if (word == "none")
        return Reading{Kind::None, {}};
    auto year = number(text, 0, 4), month = number(text, 5, 2), day = number(text, 8, 2);
    if (!year || !month || !day || text[4] != '-' || text[7] != '-')
        return notADate(text, "not a date");
    int hour = 0, minute = 0, second = 0;
    std::size_t pos = 10;
    if (pos < text.size() && (text[pos] == 'T' || text[pos] == ' ')) {
        auto h = number(text, pos + 1, 2), m = number(text, pos + 4, 2);
        if (!h || !m || pos + 3 >= text.size() || text[pos + 3] != ':')
            return notADate(text, "the time is not HH:MM");
        hour = *h;
        minute = *m;
        pos += 6;
        if (pos < text.size() && text[pos] == ':') {
            auto s = number(text, pos + 1, 2);
            if (!s)
                return notADate(text, "the seconds are not two digits");
            second = *s;
            pos += 3;
        }
    }
    std::optional<int> offset;
    if (pos < text.size()) {
        offset = zoneOffset(text.substr(pos));
        if (!offset)
            return notADate(text, "\"" + std::string(text.substr(pos)) + "\" is not a time zone");
    }
    if (*month < 1 || *month > 12 || *day < 1 || *day > 31 || hour > 23 || minute > 59 || second > 59)
        return notADate(text, "no such day or time");
    std::tm fields{};
    fields.tm_year = *year - 1900;
    fields.tm_mon = *month - 1;
    fields.tm_mday = *day;
    fields.tm_hour = hour;
    fields.tm_min = minute;
    fields.tm_sec = second;
    fields.tm_isdst = -1;
    std::tm normalised = fields;
    const std::time_t seconds = offset ? timegm(&normalised) - *offset : std::mktime(&normalised);
    // 2026-02-30 comes back as 2 March: the calendar has no such day.
    if (normalised.tm_mday != *day || normalised.tm_mon != *month - 1)
        return notADate(text, "no such day");
    return Reading{Kind::Date, platform::Date::fromUnix(static_cast<double>(seconds))};
}

} // namespace mailhost
