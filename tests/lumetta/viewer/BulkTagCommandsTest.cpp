#include "ViewerSupport.h"
#include "lumetta/viewer/DueDateShift.h"
#include "platform/foundation/Date.h"
#include "platform/runtime/Send.h"

#include <cstdint>

using namespace viewertest;
using platform::Array;
using platform::Date;
using platform::Dictionary;
using platform::Value;

namespace {

constexpr const char* kKeyWords = "lumettaKeyWords";
constexpr const char* kDueDate = "lumettaDueDate";
constexpr const char* kDueDateState = "lumettaDueDateState";

class BulkTagCommandsTest : public ViewerTest {};

// Adding keeps the existing order and appends only what is missing.
TEST_F(BulkTagCommandsTest, AddAppendsMissingKeywordsOnce) {
    auto m = add(1, {{kKeyWords, Array{"b", "c"}}});
    auto bare = add(2);
    select({m, bare});
    send("addKeywords:", Array{"a", "b"});
    EXPECT_TRUE(record(*m).get(kKeyWords).isEqual(Array{"b", "c", "a"}));
    EXPECT_TRUE(record(*bare).get(kKeyWords).isEqual(Array{"a", "b"}));
    EXPECT_TRUE(fileTags(*m).get(kKeyWords).isEqual(Array{"b", "c", "a"}));
    EXPECT_TRUE(indexed(*bare, "kMDItemKeywords").isEqual(Array{"a", "b"}));
    EXPECT_FALSE(record(*m).contains("__tagsToRemove")); // adding never touches the removal set
    EXPECT_EQ(rulesApplied(), 1);
}

TEST_F(BulkTagCommandsTest, EmptyOrMissingListsDoNothing) {
    auto m = add(1, {{kKeyWords, Array{"b"}}});
    select({m});
    for (const char* selector : {"addKeywords:", "removeKeywords:"}) {
        send(selector, Array{});
        send(selector, Value());
    }
    EXPECT_EQ(rulesApplied(), 0);
    EXPECT_TRUE(record(*m).get(kKeyWords).isEqual(Array{"b"}));
}

// Removing the last keyword deletes the key everywhere and remembers the removal.
TEST_F(BulkTagCommandsTest, RemovingTheLastKeywordDeletesTheKey) {
    auto m = add(1, {{kKeyWords, Array{"a", "b", "a"}}});
    select({m});
    send("removeKeywords:", Array{"a"});
    EXPECT_TRUE(record(*m).get(kKeyWords).isEqual(Array{"b"}));
    send("removeKeywords:", Array{"b"});
    EXPECT_FALSE(record(*m).contains(kKeyWords));
    EXPECT_TRUE(pendingRemoval(*m, kKeyWords));
    EXPECT_FALSE(fileTags(*m).contains(kKeyWords));
    EXPECT_TRUE(indexed(*m, "kMDItemKeywords").isNull());
}

// A message without keywords is left alone: no removal set, no index update.
TEST_F(BulkTagCommandsTest, RemoveSkipsMessagesWithoutKeywords) {
    auto without = add(1);
    auto with = add(2, {{kKeyWords, Array{"x", "y"}}});
    select({without, with});
    MessageMethodSpy synchronised("lumettaSynchroniseWithSpotlight", true);
    send("removeKeywords:", Array{"x"});
    EXPECT_EQ(synchronised.calls, (std::vector<const platform::runtime::Object*>{with.get()}));
    EXPECT_FALSE(record(*without).contains("__tagsToRemove"));
    EXPECT_TRUE(record(*with).contains("__tagsToRemove")); // stored even though nothing was deleted
    EXPECT_EQ(rulesApplied(), 1);
}

TEST_F(BulkTagCommandsTest, SetKeywordsStoresEmptyListsButDeletesOnNil) {
    auto m = add(1, {{kKeyWords, Array{"a"}}});
    select({m});
    send("setKeywords:", Array{});
    EXPECT_TRUE(record(*m).get(kKeyWords).isEqual(Array{}));
    EXPECT_FALSE(pendingRemoval(*m, kKeyWords));
    send("setKeywords:", Value());
    EXPECT_FALSE(record(*m).contains(kKeyWords));
    EXPECT_TRUE(pendingRemoval(*m, kKeyWords));
}

// Project and priority: a value sets, nil and 0 delete with the removal recorded.
TEST_F(BulkTagCommandsTest, ProjectAndPriority) {
    auto m = add(1);
    select({m});
    send("setProject:", "Apollo");
    ASSERT_TRUE(platform::runtime::sendVoid(static_cast<platform::runtime::Object*>(viewer_.get()),
                                            "setPriority:", 4));
    EXPECT_EQ(fileTags(*m).get("lumettaProject").stringValue(), "Apollo");
    EXPECT_EQ(fileTags(*m).get("lumettaPriority").intValue(), 4);
    send("setProject:", Value());
    ASSERT_TRUE(platform::runtime::sendVoid(static_cast<platform::runtime::Object*>(viewer_.get()),
                                            "setPriority:", 0));
    EXPECT_TRUE(fileTags(*m).empty());
    EXPECT_TRUE(pendingRemoval(*m, "lumettaProject"));
    EXPECT_TRUE(pendingRemoval(*m, "lumettaPriority"));
    EXPECT_EQ(rulesApplied(), 4);
}

// The due-date words: "Off" keeps the date, "On" (any other word) switches on even
// without a date, "None" deletes both.
TEST_F(BulkTagCommandsTest, DueDateWords) {
    const Date due{700000000};
    struct Case {
        const char* word;
        bool hasDateBefore;
        Value date, state;
    } cases[] = {
        {"Off", true, due, 0},
        {"On", false, Value(), 1},
        {"Whatever", true, due, 1},
        {"None", true, Value(), Value()},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.word);
        auto m = add(1, c.hasDateBefore ? Dictionary{{kDueDate, due}, {kDueDateState, 1}} : Dictionary{});
        select({m});
        send("setDueDate:", c.word);
        EXPECT_TRUE(record(*m).get(kDueDate).isEqual(c.date));
        EXPECT_TRUE(record(*m).get(kDueDateState).isEqual(c.state));
        EXPECT_EQ(pendingRemoval(*m, kDueDate), c.date.isNull() && c.hasDateBefore);
    }
    send("setDueDate:", Value());
    EXPECT_EQ(rulesApplied(), 1); // only the last case's command; nil posts nothing
}

TEST_F(BulkTagCommandsTest, DueDateAsDateSwitchesOn) {
    auto m = add(1, {{kDueDateState, 0}});
    select({m});
    send("setDueDate:", Date{700000000});
    EXPECT_TRUE(fileTags(*m).get(kDueDate).isEqual(Date{700000000}));
    EXPECT_EQ(fileTags(*m).get(kDueDateState).intValue(), 1);
}

// Moving: dates in force shift; a date switched off counts as none.
TEST_F(BulkTagCommandsTest, MoveDueDates) {
    const double now = 726000000.75;
    platform::ScopedFixedClock clock{Date{now}};
    auto inForce = add(1, {{kDueDate, Date{700000000.9}}, {kDueDateState, 1}});
    auto off = add(2, {{kDueDate, Date{600000000}}, {kDueDateState, 0}});
    auto none = add(3);
    select({inForce, off, none});

    auto move = [&](Value days, bool useToday) {
        ASSERT_TRUE(platform::runtime::sendVoid(static_cast<platform::runtime::Object*>(viewer_.get()),
                                                "moveDueDateByOffset:useTodayIfNoDate:", days, useToday));
    };
    move(Value(), true); // nil: nothing at all
    EXPECT_EQ(rulesApplied(), 0);

    move(-1, false);
    EXPECT_TRUE(record(*inForce).get(kDueDate).isEqual(Date{700000000 - 86400})); // whole seconds
    EXPECT_TRUE(record(*off).get(kDueDate).isEqual(Date{600000000}));
    EXPECT_FALSE(record(*none).contains(kDueDate));

    move(1, true);
    EXPECT_TRUE(record(*inForce).get(kDueDate).isEqual(Date{700000000}));
    for (const auto& m : {off, none}) {
        EXPECT_TRUE(record(*m).get(kDueDate).isEqual(Date{726000000 + 86400})); // now, not midnight
        EXPECT_EQ(record(*m).get(kDueDateState).intValue(), 1);
        EXPECT_TRUE(fileTags(*m).get(kDueDate).isEqual(Date{726000000 + 86400}));
    }
}

// The 32-bit arithmetic of a shift: the product wraps, the sum truncates toward zero.
TEST(DueDateShift, ThirtyTwoBitArithmetic) {
    struct Case {
        double from;
        int days;
        double expected;
    } cases[] = {
        {100.9, 1, 86500},
        {-100.9, 0, -100},
        {0, -1, -86400},
        {0, 24855, 2147472000},
        {0, 24856, static_cast<double>(static_cast<std::int32_t>(24856u * 86400u))}, // the product wraps
        {2147483000.0, 1, -2147483648.0},                                            // the sum overflows
    };
    for (const auto& c : cases)
        EXPECT_EQ(lumetta::DueDateShift::shifted(Date{c.from}, c.days).seconds, c.expected)
            << c.from << " + " << c.days << " days";
}

} // namespace
