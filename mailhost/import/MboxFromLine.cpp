#include "mailhost/import/MboxFromLine.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

namespace mailhost {

namespace {

bool allDigits(std::string_view text) {
    if (text.empty()) {
        return false;
    }
    for (char c : text) {
        if (c < '0' || c > '9') {
            return false;
        }
    }
    return true;
}

int number(std::string_view digits) {
    int value = 0;
    for (char c : digits) {
        value = value * 10 + (c - '0');
    }
    return value;
}

// 1-12 for a three-letter English month name in any case, 0 otherwise.
int monthNumber(std::string_view token) {
    static constexpr std::array<std::string_view, 12> kMonths{"jan", "feb", "mar", "apr", "may", "jun",
                                                              "jul", "aug", "sep", "oct", "nov", "dec"};
    if (token.size() != 3) {
        return 0;
    }
    std::array<char, 3> lower{};
    for (std::size_t i = 0; i < 3; ++i) {
        const char c = token[i];
        lower[i] = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    }
    for (std::size_t i = 0; i < kMonths.size(); ++i) {
        if (std::string_view(lower.data(), 3) == kMonths[i]) {
            return static_cast<int>(i) + 1;
        }
    }
    return 0;
}

// Days since 1970-01-01 of a proleptic Gregorian date.
std::int64_t daysFromCivil(std::int64_t y, unsigned m, unsigned d) {
    y -= m <= 2 ? 1 : 0;
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const auto yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

bool parseTime(std::string_view token, int& hour, int& minute, int& second) {
    std::array<std::string_view, 3> parts{};
    std::size_t count = 0;
    std::size_t start = 0;
    while (count < parts.size()) {
        const std::size_t colon = token.find(':', start);
        parts[count++] =
            token.substr(start, colon == std::string_view::npos ? std::string_view::npos : colon - start);
        if (colon == std::string_view::npos) {
            break;
        }
        start = colon + 1;
    }
    if (count < 2 || token.find(':', start) != std::string_view::npos) {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (!allDigits(parts[i]) || parts[i].size() > 2) {
            return false;
        }
    }
    hour = number(parts[0]);
    minute = number(parts[1]);
    second = count == 3 ? number(parts[2]) : 0;
    return hour < 24 && minute < 60 && second <= 60;
}

} // namespace

std::optional<platform::Date> MboxFromLine::parseDate(std::string_view line) {
    if (!line.starts_with("From ")) {
        return std::nullopt;
    }
    line.remove_prefix(5);
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) {
        line.remove_suffix(1);
    }
    std::vector<std::string_view> tokens;
    std::size_t at = 0;
    while (at < line.size()) {
        const std::size_t start = line.find_first_not_of(" \t", at);
        if (start == std::string_view::npos) {
            break;
        }
        const std::size_t end = std::min(line.find_first_of(" \t", start), line.size());
        std::string_view token = line.substr(start, end - start);
        while (!token.empty() && token.back() == ',') {
            token.remove_suffix(1);
        }
        tokens.push_back(token);
        at = end;
    }
    int year = -1, month = 0, day = 0, hour = -1, minute = 0, second = 0;
    int zoneMinutes = 0;
    // The first token is the sender (or "-"), whatever it looks like.
    for (std::size_t i = 1; i < tokens.size(); ++i) {
        const std::string_view token = tokens[i];
        if (token.empty()) {
            continue;
        }
        if (month == 0 && monthNumber(token) != 0) {
            month = monthNumber(token);
        } else if (hour < 0 && token.find(':') != std::string_view::npos) {
            if (!parseTime(token, hour, minute, second)) {
                return std::nullopt;
            }
        } else if ((token[0] == '+' || token[0] == '-') && token.size() == 5 && allDigits(token.substr(1))) {
            const int hhmm = number(token.substr(1));
            zoneMinutes = (hhmm / 100) * 60 + hhmm % 100;
            if (token[0] == '-') {
                zoneMinutes = -zoneMinutes;
            }
        } else if (allDigits(token)) {
            if (token.size() == 4 && year < 0) {
                year = number(token);
            } else if (token.size() <= 2 && day == 0) {
                day = number(token);
            } else if (token.size() == 2 && year < 0) {
                const int twoDigits = number(token);
                year = twoDigits < 70 ? 2000 + twoDigits : 1900 + twoDigits;
            }
        }
    }
    if (year < 0 || month == 0 || day < 1 || day > 31 || hour < 0) {
        return std::nullopt;
    }
    const std::int64_t days = daysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day));
    const std::int64_t unixSeconds = days * 86400 + hour * 3600 + minute * 60 + second - zoneMinutes * 60;
    return platform::Date::fromUnix(static_cast<double>(unixSeconds));
}

} // namespace mailhost
