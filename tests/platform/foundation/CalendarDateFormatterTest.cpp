#include "platform/foundation/CalendarDateFormatter.h"

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <limits>
#include <string>

namespace platform {
namespace {

// Sets the process time zone for one test and puts back whatever was there before.
class ZoneFixture : public ::testing::Test {
protected:
    explicit ZoneFixture(const char* zone) : zone_(zone) {}

    void SetUp() override {
        const char* previous = std::getenv("TZ");
        hadPrevious_ = previous != nullptr;
        previous_ = hadPrevious_ ? previous : "";
        setenv("TZ", zone_, 1);
        tzset();
    }
    void TearDown() override {
        if (hadPrevious_) {
            setenv("TZ", previous_.c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }

    static std::string at(double unixSeconds, std::string_view format) {
        return CalendarDateFormatter::format(Date::fromUnix(unixSeconds), format);
    }

private:
    const char* zone_;
    std::string previous_;
    bool hadPrevious_ = false;
};

class CalendarDateFormatterBerlin : public ZoneFixture {
protected:
    CalendarDateFormatterBerlin() : ZoneFixture("Europe/Berlin") {}
};

class CalendarDateFormatterAmerica : public ZoneFixture {
protected:
    CalendarDateFormatterAmerica() : ZoneFixture("America/New_York") {}
};

// 2023-07-14 15:04:05.678 UTC, a summer Friday.
constexpr double kSummer = 1689347045.678;
// 2024-01-05 08:09:10 UTC, a winter Friday.
constexpr double kWinter = 1704442150.0;

// Every conversion on a summer and a winter date, in local (daylight-saving) time.
TEST_F(CalendarDateFormatterBerlin, ConversionsFollowLocalTimeAndDaylightSaving) {
    struct Case {
        double when;
        const char* format;
        const char* expected;
    };
    const Case cases[] = {
        {kSummer, "%Y-%m-%d %H:%M:%S.%F %Z %z", "2023-07-14 17:04:05.678 CEST +0200"},
        {kWinter, "%Y-%m-%d %H:%M:%S.%F %Z %z", "2024-01-05 09:09:10.000 CET +0100"},
        {kSummer, "%a %A %b %B %w %j", "Fri Friday Jul July 5 195"},
        {kWinter, "%e|%d|%y|%I %p", "5|05|24|09 AM"},
        {kWinter, CalendarDateFormatter::kDefaultNoteFormat.data(), "01/05/2024"},
        {kSummer, "%I:%M %p", "05:04 PM"},
        {1704452400.0, "%H %I %p", "12 12 PM"}, // noon CET
        {1704409200.0, "%H %I %p", "00 12 AM"}, // midnight CET
        {1735646400.0, "%j", "366"},            // last day of a leap year
        {1110110400.0, "%y %e %j", "05 6 065"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(at(c.when, c.format), c.expected) << c.format;
    }
}

// The reference date is midnight GMT on 1 January 2001, not the Unix epoch.
TEST_F(CalendarDateFormatterBerlin, CountsFromTheReferenceDate) {
    EXPECT_EQ(CalendarDateFormatter::format(Date{0.0}, "%Y-%m-%d %H:%M:%S"), "2001-01-01 01:00:00");
}

// Fractions round down before 1970 too: -0.75 s is 23:59:59.250 UTC on the last day of 1969.
TEST_F(CalendarDateFormatterBerlin, FractionsBeforeNineteenSeventyRoundDown) {
    EXPECT_EQ(at(-0.75, "%Y-%m-%d %H:%M:%S.%F %Z"), "1970-01-01 00:59:59.250 CET");
    EXPECT_EQ(at(-86400.0 * 365 * 30, "%Y-%m-%d %H:%M %Z"), "1940-01-09 01:00 CET");
}

// Text that is not a known conversion passes through unchanged.
TEST_F(CalendarDateFormatterBerlin, UnknownConversionsAndLonePercentAreCopied) {
    EXPECT_EQ(at(kWinter, "%q%%%Y%"), "%q%2024%");
    EXPECT_EQ(at(kWinter, "no conversions"), "no conversions");
    EXPECT_EQ(at(kWinter, ""), "");
}

TEST_F(CalendarDateFormatterBerlin, UnplaceableDatesFormatEmpty) {
    EXPECT_EQ(CalendarDateFormatter::format(Date{std::nan("")}, "%Y"), "");
    EXPECT_EQ(CalendarDateFormatter::format(Date{std::numeric_limits<double>::infinity()}, "%Y"), "");
    EXPECT_EQ(CalendarDateFormatter::format(Date{1e300}, "%Y"), "");
}

// West of Greenwich the offset is negative and the day can differ from UTC's.
TEST_F(CalendarDateFormatterAmerica, NegativeOffsetsAndZoneNames) {
    EXPECT_EQ(at(kSummer, "%A %H:%M %Z %z"), "Friday 11:04 EDT -0400");
    EXPECT_EQ(at(kWinter, "%H:%M %Z %z"), "03:09 EST -0500");
    EXPECT_EQ(at(1704409200.0, "%m/%d %I %p"), "01/04 06 PM");
}

// Half-hour zones write minutes in the offset.
TEST_F(CalendarDateFormatterAmerica, OffsetKeepsMinutes) {
    setenv("TZ", "America/St_Johns", 1);
    tzset();
    EXPECT_EQ(at(kWinter, "%H:%M %Z %z"), "04:39 NST -0330");
}

} // namespace
} // namespace platform
