#include "calendarapp/store/StampBound.h"

#include <ctime>

namespace calendarapp {

namespace {

constexpr std::string_view kName = "LAST-MODIFIED";

bool startsWithName(std::string_view line) {
    if (line.size() < kName.size())
        return false;
    for (std::size_t i = 0; i < kName.size(); ++i) {
        const char c = line[i];
        const char upper = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
        if (upper != kName[i])
            return false;
    }
    return true;
}

int digits(std::string_view s, std::size_t at, std::size_t count) {
    int value = 0;
    for (std::size_t i = at; i < at + count; ++i) {
        if (s[i] < '0' || s[i] > '9')
            return -1;
        value = value * 10 + (s[i] - '0');
    }
    return value;
}

// "20240301T110000Z", and nothing else.
std::optional<platform::Date> utcDateTime(std::string_view value) {
    if (value.size() != 16 || value[8] != 'T' || value[15] != 'Z')
        return std::nullopt;
    std::tm tm{};
    tm.tm_year = digits(value, 0, 4) - 1900;
    tm.tm_mon = digits(value, 4, 2) - 1;
    tm.tm_mday = digits(value, 6, 2);
    tm.tm_hour = digits(value, 9, 2);
    tm.tm_min = digits(value, 11, 2);
    tm.tm_sec = digits(value, 13, 2);
    if (tm.tm_year < 0 || tm.tm_mon < 0 || tm.tm_mday < 1 || tm.tm_hour < 0 || tm.tm_min < 0 || tm.tm_sec < 0)
        return std::nullopt;
    return platform::Date::fromUnix(static_cast<double>(::timegm(&tm)));
}

} // namespace

std::optional<platform::Date> StampBound::of(std::string_view bytes, platform::Date fileModified) {
    platform::Date bound = fileModified;
    std::size_t pos = 0;
    while (pos < bytes.size()) {
        const std::size_t newline = bytes.find('\n', pos);
        const std::size_t end = newline == std::string_view::npos ? bytes.size() : newline;
        std::string_view line = bytes.substr(pos, end - pos);
        pos = end + 1;
        if (!startsWithName(line))
            continue;
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        // A folded value continues on the next line; leave that to the parser.
        if (pos < bytes.size() && (bytes[pos] == ' ' || bytes[pos] == '\t'))
            return std::nullopt;
        if (line.size() <= kName.size() || line[kName.size()] != ':')
            return std::nullopt;
        const auto date = utcDateTime(line.substr(kName.size() + 1));
        if (!date)
            return std::nullopt;
        if (*date > bound)
            bound = *date;
    }
    return bound;
}

} // namespace calendarapp
