#include "mailhost/criteria/DateCondition.h"

#include "mailhost/criteria/MessageCriterion.h"

#include <charconv>
#include <cmath>
#include <ctime>

namespace mailhost {

namespace {

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr double kDay = 86400.0;
// Ages beyond this are no one's meaning; the bound keeps day arithmetic in range.
constexpr int kMaxDays = 100000;

std::optional<int> number(std::string_view text) {
    int n = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), n);
    if (text.empty() || ec != std::errc() || end != text.data() + text.size() || n < 0 || n > kMaxDays)
        return std::nullopt;
    return n;
}

year_month_day localDayOf(platform::Date date) {
    const auto t = static_cast<std::time_t>(std::floor(date.unixSeconds()));
    std::tm tm{};
    localtime_r(&t, &tm);
    return year_month_day{std::chrono::year{tm.tm_year + 1900}, std::chrono::month(tm.tm_mon + 1),
                          std::chrono::day(tm.tm_mday)};
}

} // namespace

std::optional<year_month_day> DateCondition::calendarDay(std::string_view text) {
    if (text.size() != 10 || text[4] != '-' || text[7] != '-')
        return std::nullopt;
    const auto y = number(text.substr(0, 4)), m = number(text.substr(5, 2)), d = number(text.substr(8, 2));
    if (!y || !m || !d)
        return std::nullopt;
    const year_month_day day{std::chrono::year{*y}, std::chrono::month(static_cast<unsigned>(*m)),
                             std::chrono::day(static_cast<unsigned>(*d))};
    return day.ok() ? std::optional(day) : std::nullopt;
}

platform::Date DateCondition::startOfLocalDay(year_month_day day) {
    std::tm tm{};
    tm.tm_year = static_cast<int>(day.year()) - 1900;
    tm.tm_mon = static_cast<int>(static_cast<unsigned>(day.month())) - 1;
    tm.tm_mday = static_cast<int>(static_cast<unsigned>(day.day()));
    tm.tm_isdst = -1;
    return platform::Date::fromUnix(static_cast<double>(std::mktime(&tm)));
}

std::optional<DateCondition> DateCondition::read(int qualifier, std::string_view expression,
                                                 std::string* why) {
    auto fail = [&](std::string reason) -> std::optional<DateCondition> {
        if (why)
            *why = std::move(reason);
        return std::nullopt;
    };
    if (qualifier != MessageCriterion::kIsLessThan && qualifier != MessageCriterion::kIsGreaterThan &&
        qualifier != MessageCriterion::kIsEqualTo)
        return fail("a date is compared with \"is less than\", \"is greater than\" or \"is equal to\"");
    DateCondition condition;
    condition.qualifier_ = qualifier;
    if (auto n = number(expression))
        condition.days_ = *n;
    else if (auto day = calendarDay(expression))
        condition.day_ = *day;
    else
        return fail("\"" + std::string(expression) +
                    "\" is neither a number of days nor a date written YYYY-MM-DD");
    return condition;
}

bool DateCondition::holds(platform::Date date) const {
    const platform::Date now = platform::Clock::now();
    if (days_ && qualifier_ != MessageCriterion::kIsEqualTo) {
        const double limit = now.seconds - *days_ * kDay;
        return qualifier_ == MessageCriterion::kIsLessThan ? date.seconds > limit : date.seconds < limit;
    }
    const year_month_day day = days_ ? year_month_day{sys_days(localDayOf(now)) - days(*days_)} : day_;
    const platform::Date start = startOfLocalDay(day);
    const platform::Date end = startOfLocalDay(year_month_day{sys_days(day) + days(1)});
    switch (qualifier_) {
    case MessageCriterion::kIsLessThan:
        return date < start;
    case MessageCriterion::kIsGreaterThan:
        return date >= end;
    default:
        return date >= start && date < end;
    }
}

} // namespace mailhost
