#include "platform/appleevents/LongDateTime.h"

#include "platform/appleevents/AEDesc.h"

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <string>

namespace platform::appleevents {
namespace {

// 2024 in Berlin: clocks go forward at 01:00 UTC on 31 March, back at 01:00 UTC on 27 October.
constexpr double kSpringChange = 1711846800.0 - Date::kUnixOffset;
constexpr double kAutumnChange = 1729990800.0 - Date::kUnixOffset;
constexpr std::int64_t kHour = 3600;

std::int64_t toLongDateTime(double absolute) {
    std::int64_t value = 0;
    EXPECT_EQ(UCConvertCFAbsoluteTimeToLongDateTime(absolute, &value), noErr) << absolute;
    return value;
}

double toAbsolute(std::int64_t value) {
    double absolute = 0;
    EXPECT_EQ(UCConvertLongDateTimeToCFAbsoluteTime(value, &absolute), noErr) << value;
    return absolute;
}

class ScopedTimeZone {
public:
    explicit ScopedTimeZone(const char* zone) {
        if (const char* old = std::getenv("TZ"))
            previous_ = old;
        ::setenv("TZ", zone, 1);
    }
    ~ScopedTimeZone() {
        if (previous_)
            ::setenv("TZ", previous_->c_str(), 1);
        else
            ::unsetenv("TZ");
        ::tzset();
    }

private:
    std::optional<std::string> previous_;
};

// Local wall-clock seconds since 1904: the reference date is 01:00 in Berlin's winter, a
// summer noon UTC is 14:00 there, and fractions round down.
TEST(LongDateTime, CountsLocalWallClockSecondsSince1904) {
    EXPECT_EQ(toLongDateTime(0.0), kLongDateTimeReferenceOffset + kHour);
    EXPECT_EQ(toLongDateTime(0.75), kLongDateTimeReferenceOffset + kHour);
    EXPECT_EQ(toLongDateTime(-0.25), kLongDateTimeReferenceOffset + kHour - 1);
    const double summerNoonUtc = 1719835200.0 - Date::kUnixOffset; // 2024-07-01 12:00 UTC
    EXPECT_EQ(toLongDateTime(summerNoonUtc),
              static_cast<std::int64_t>(summerNoonUtc) + 2 * kHour + kLongDateTimeReferenceOffset);
    ScopedTimeZone utc("UTC");
    EXPECT_EQ(toLongDateTime(0.0), kLongDateTimeReferenceOffset);
}

// Every quarter hour around both changes reads back as the same instant, except the
// second pass through the repeated hour in autumn, which reads as the first pass.
TEST(LongDateTime, RoundTripsAcrossDaylightSavingChanges) {
    for (const double change : {kSpringChange, kAutumnChange}) {
        for (double t = change - 3 * kHour; t <= change + 3 * kHour; t += 900) {
            const bool repeated = change == kAutumnChange && t >= change && t < change + kHour;
            EXPECT_EQ(toAbsolute(toLongDateTime(t)), repeated ? t - kHour : t) << std::fixed << t;
        }
    }
    // Wall-clock time runs on by 2 hours over the spring change's 1 real hour.
    EXPECT_EQ(toLongDateTime(kSpringChange) - toLongDateTime(kSpringChange - kHour), 2 * kHour);
    EXPECT_EQ(toLongDateTime(kAutumnChange) - toLongDateTime(kAutumnChange - kHour), 0);
}

// 02:30 on 31 March 2024 never happened in Berlin: it reads with winter's offset.
TEST(LongDateTime, SkippedWallClockTimeReadsWithTheEarlierOffset) {
    const std::int64_t skipped = toLongDateTime(kSpringChange - kHour) + kHour + 30 * 60;
    EXPECT_EQ(toAbsolute(skipped), kSpringChange + 30 * 60);
}

TEST(LongDateTime, DescriptorsConvertDates) {
    const auto desc = AEDesc::longDateTime(Date{kAutumnChange + kHour});
    ASSERT_TRUE(desc.ok());
    EXPECT_EQ(desc.value().longDateTimeValue(), toLongDateTime(kAutumnChange + kHour));
    EXPECT_EQ(desc.value().dateValue(), Date{kAutumnChange + kHour});
    EXPECT_FALSE(AEDesc::longDateTime(Date{std::nan("")}).ok());
}

TEST(LongDateTime, UnrepresentableInputIsParamErr) {
    std::int64_t value = 0;
    double absolute = 0;
    EXPECT_EQ(UCConvertCFAbsoluteTimeToLongDateTime(std::nan(""), &value), paramErr);
    EXPECT_EQ(UCConvertCFAbsoluteTimeToLongDateTime(std::numeric_limits<double>::infinity(), &value),
              paramErr);
    EXPECT_EQ(UCConvertCFAbsoluteTimeToLongDateTime(1e300, &value), paramErr);
    EXPECT_EQ(UCConvertCFAbsoluteTimeToLongDateTime(0, nullptr), paramErr);
    EXPECT_EQ(UCConvertLongDateTimeToCFAbsoluteTime(std::numeric_limits<std::int64_t>::min(), &absolute),
              paramErr);
    EXPECT_EQ(UCConvertLongDateTimeToCFAbsoluteTime(0, nullptr), paramErr);
}

} // namespace
} // namespace platform::appleevents
