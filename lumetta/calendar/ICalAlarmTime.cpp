#include "lumetta/calendar/ICalAlarmTime.h"

#include <cmath>
#include <ctime>
#include <string>
#include <vector>

namespace lumetta {

using platform::Value;

std::optional<platform::Date> ICalAlarmTime::onDueDay(const platform::Date& due, const Value& alarmTime) {
    const std::string text = alarmTime.stringValue();
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t colon; (colon = text.find(':', start)) != std::string::npos; start = colon + 1)
        parts.push_back(text.substr(start, colon - start));
    parts.push_back(text.substr(start));
    if (parts.size() != 2)
        return std::nullopt;

    const std::time_t dueTime = static_cast<std::time_t>(std::floor(due.unixSeconds()));
    std::tm day{};
    if (!::localtime_r(&dueTime, &day))
        return std::nullopt;
    day.tm_hour = Value(parts[0]).intValue();
    day.tm_min = Value(parts[1]).intValue();
    day.tm_sec = 0;
    day.tm_isdst = -1;
    const std::time_t alarm = std::mktime(&day);
    if (alarm == static_cast<std::time_t>(-1))
        return std::nullopt;
    return platform::Date::fromUnix(static_cast<double>(alarm));
}

} // namespace lumetta
