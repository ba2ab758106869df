#pragma once

#include "platform/foundation/Date.h"

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace mailhost {

// The test of a date criterion (sent, received): an expression that is an age in days
// ("7") or a local calendar day ("2026-01-01"), under the qualifier "is less than",
// "is greater than" or "is equal to". See HostCriteria for what each combination means.
// "Now" is read from the clock when a date is tested, so a saved criterion ages with it.
class DateCondition {
public:
    // nullopt, with the reason in `why`, for a qualifier or an expression that makes no
    // date test.
    static std::optional<DateCondition> read(int qualifier, std::string_view expression, std::string* why);

    bool holds(platform::Date date) const;

    // "YYYY-MM-DD" as a valid calendar day; nullopt for anything else.
    static std::optional<std::chrono::year_month_day> calendarDay(std::string_view text);
    // Local midnight at the start of the day (the first instant of it when a clock change
    // skips midnight).
    static platform::Date startOfLocalDay(std::chrono::year_month_day day);

private:
    DateCondition() = default;

    int qualifier_ = 0;
    std::optional<int> days_; // an age in days, or else
    std::chrono::year_month_day day_{};
};

} // namespace mailhost
