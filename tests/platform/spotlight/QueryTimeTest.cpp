#include "platform/spotlight/query/QueryTime.h"

#include "platform/spotlight/query/QueryParser.h"

#include <gtest/gtest.h>
#include <string>

namespace platform::spotlight {
namespace {

Date iso(const char* text) {
    const auto date = QueryTime::parseIso(text);
    EXPECT_TRUE(date.has_value()) << text;
    return date.value_or(Date{});
}

// Explicit zones are read against known instants; local times use the pinned zone
// (Europe/Berlin, one hour ahead of UTC in March before the 29th).
TEST(QueryTime, ReadsIsoDates) {
    struct Case {
        const char* text;
        double seconds;
    };
    const Case cases[] = {
        {"2001-01-01T00:00:00Z", 0.0},
        {"2026-03-25T14:30:00Z", 796141800.0},
        {"2026-03-25T15:30:00+01:00", 796141800.0},
        {"2026-03-25T09:30:00-0500", 796141800.0},
        {"2026-03-25T15:30", 796141800.0},
        {"2026-03-25 15:30:00.25", 796141800.25},
        {"2026-03-25", 796141800.0 - 15.5 * 3600},
        {"2024-02-29T00:00:00Z", 730857600.0},
    };
    for (const Case& c : cases)
        EXPECT_DOUBLE_EQ(iso(c.text).seconds, c.seconds) << c.text;
}

TEST(QueryTime, RefusesWhatIsNoIsoDate) {
    for (const char* text :
         {"", "yesterday", "2026-02-29", "2026-13-01", "2026-3-1", "2026-03-25T25:00", "2026-03-25T10:00+1",
          "2026-03-25T10:00Zjunk", "2026-03-25T10", "2026-03-25T10:00:00."})
        EXPECT_FALSE(QueryTime::parseIso(text).has_value()) << text;
}

// Calendar units follow local midnights, also across the change to summer time on 29 March
// 2026; weeks start on Sunday in the pinned locale.
TEST(QueryTime, FunctionsCountFromTheFixedNow) {
    struct Case {
        const char* function;
        const char* expected;
    };
    const Case cases[] = {
        {"$time.now", "2026-03-25T15:30:00+01:00"},
        {"$time.now(90)", "2026-03-25T15:31:30+01:00"},
        {"$time.now(-3600.5)", "2026-03-25T14:29:59.5+01:00"},
        {"$time.today", "2026-03-25T00:00:00+01:00"},
        {"$time.today(1)", "2026-03-26T00:00:00+01:00"},
        {"$time.today(7)", "2026-04-01T00:00:00+02:00"},
        {"$time.today(-25)", "2026-02-28T00:00:00+01:00"},
        {"$time.yesterday", "2026-03-24T00:00:00+01:00"},
        {"$time.this_week", "2026-03-22T00:00:00+01:00"},
        {"$time.this_week(1)", "2026-03-29T00:00:00+01:00"},
        {"$time.this_week(-1)", "2026-03-15T00:00:00+01:00"},
        {"$time.this_month", "2026-03-01T00:00:00+01:00"},
        {"$time.this_month(1)", "2026-04-01T00:00:00+02:00"},
        {"$time.this_month(-3)", "2025-12-01T00:00:00+01:00"},
        {"$time.this_year", "2026-01-01T00:00:00+01:00"},
        {"$time.this_year(-1)", "2025-01-01T00:00:00+01:00"},
        {"$time.iso(2026-05-01T10:00:00Z)", "2026-05-01T10:00:00Z"},
        {"$time.iso( \"2026-05-01\" )", "2026-05-01T00:00:00+02:00"},
    };
    const Date now = iso("2026-03-25T15:30:00+01:00");
    for (const Case& c : cases) {
        auto tree = QueryParser::parse(std::string("a == ") + c.function);
        ASSERT_TRUE(tree.ok()) << c.function << ": " << tree.error().message;
        const Date actual = QueryTime::evaluate(tree.value().values.at(0), now);
        EXPECT_DOUBLE_EQ(actual.seconds, iso(c.expected).seconds) << c.function;
    }
}

} // namespace
} // namespace platform::spotlight
