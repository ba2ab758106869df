#include "lumetta/rules/RuleTagPlan.h"

#include "lumetta/store/TagKeys.h"
#include "platform/foundation/Array.h"
#include "platform/foundation/Set.h"
#include "platform/foundation/Value.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace lumetta;
using platform::Array;
using platform::Date;
using platform::Dictionary;
using platform::Value;

namespace {

// Wednesday 5 March 2008, 12:00 in the pinned zone (CET).
const Date kNow = Date::fromUnix(1204714800);
constexpr double kDay = 86400;

struct Run {
    Dictionary record;
    int toDoDeletions = 0;
};

// Runs a rule's actions on a copy of `record`, with "now" fixed.
Run run(const Dictionary& actions, const Dictionary& record, bool unflag = false,
        const std::string& token = "$date", const std::string& format = "%m/%d/%Y") {
    platform::ScopedFixedClock clock(kNow);
    Run out{record.mutableCopy()};
    RuleTagPlan::read(actions, token, kNow, format).apply(out.record, unflag, [&] { ++out.toDoDeletions; });
    return out;
}

// The removal list as the run left it (an empty list when there is none).
Value removals(const Dictionary& record) {
    const Value pending = record.get(TagKeys::kTagsToRemove);
    return pending.array() ? pending : Value(Array());
}

Value strings(std::initializer_list<const char*> items) {
    Array out;
    for (const char* item : items)
        out.add(item);
    return out;
}

// The steps run in one fixed order whatever the dictionary says, so clearing and
// setting in one rule leaves exactly what is set.
TEST(RuleTagPlan, ClearingComesBeforeSetting) {
    const auto keywords =
        run({{"LumettaShouldClearKeywords", "YES"}, {"LumettaAddKeywords", strings({"new"})}},
            {{TagKeys::kKeyWords, strings({"a", "b"})}});
    EXPECT_EQ(keywords.record.get(TagKeys::kKeyWords), Value(strings({"new"})));

    const Dictionary full = {{TagKeys::kProject, strings({"Old"})},
                             {TagKeys::kKeyWords, strings({"k"})},
                             {TagKeys::kPriority, 2},
                             {TagKeys::kDueDate, kNow},
                             {TagKeys::kDueDateState, 1},
                             {TagKeys::kAnnotation, "note"},
                             {TagKeys::kGeneralFlag, 1},
                             {TagKeys::kICalUID, "uid-1"},
                             {TagKeys::kICalToDoTitle, "t"},
                             {TagKeys::kICalToDoCompleted, 0},
                             {"flags", 16}};
    const auto all = run({{"LumettaShouldClearAll", "YES"}, {"LumettaProject", "New"}}, full);
    EXPECT_TRUE(all.record.isEqual({{TagKeys::kProject, strings({"New"})},
                                    {"flags", 16},
                                    {TagKeys::kTagsToRemove, removals(all.record)}}))
        << Value(all.record).description();
    EXPECT_EQ(removals(all.record),
              strings({"lumettaProject", "lumettaKeyWords", "lumettaPriority", "lumettaDueDate",
                       "lumettaDueDateState", "lumettaAnnotation", "lumettaGeneralFlag", "lumettaICalUID",
                       "lumettaICalToDoTitle", "lumettaICalToDoCompleted"}));
    EXPECT_EQ(all.toDoDeletions, 1) << "a linked to-do is deleted with the tags";
    EXPECT_EQ(run({{"LumettaShouldClearAll", "YES"}}, {{TagKeys::kProject, "P"}}).toDoDeletions, 0);
}

// Keywords are added in order without duplicates, and a list emptied goes away.
TEST(RuleTagPlan, KeywordLists) {
    struct Case {
        const char* name;
        Dictionary actions;
        Value before;
        Value after; // null: no keywords key
        Value removed;
    };
    const std::vector<Case> cases = {
        {"add to a list",
         {{"LumettaAddKeywords", strings({"a", "b"})}},
         strings({"b", "c"}),
         strings({"b", "c", "a"}),
         strings({})},
        {"add nothing", {{"LumettaAddKeywords", Array()}}, Value(), Array(), strings({})},
        {"remove the last",
         {{"LumettaRemoveKeywords", strings({"x"})}},
         strings({"x"}),
         Value(),
         strings({"lumettaKeyWords"})},
        {"remove one",
         {{"LumettaRemoveKeywords", strings({"y", "z"})}},
         strings({"x", "y"}),
         strings({"x"}),
         strings({})},
        {"remove from none", {{"LumettaRemoveKeywords", strings({"x"})}}, Value(), Value(), strings({})},
        {"clear and remove",
         {{"LumettaShouldClearKeywords", "YES"}, {"LumettaRemoveKeywords", strings({"x"})}},
         strings({"x"}),
         Value(),
         strings({"lumettaKeyWords"})},
    };
    for (const auto& c : cases) {
        Dictionary before;
        before.set(TagKeys::kKeyWords, c.before);
        const auto out = run(c.actions, before);
        EXPECT_EQ(out.record.get(TagKeys::kKeyWords), c.after) << c.name;
        EXPECT_EQ(removals(out.record), c.removed) << c.name;
    }
    // A key already pending removal is not entered twice, whatever form the list had.
    const auto listed =
        run({{"LumettaRemoveKeywords", strings({"x"})}},
            {{TagKeys::kKeyWords, strings({"x"})}, {TagKeys::kTagsToRemove, strings({"lumettaKeyWords"})}});
    EXPECT_EQ(removals(listed.record), strings({"lumettaKeyWords"}));
    const auto fromSet = run({{"LumettaShouldClearKeywords", "YES"}},
                             {{TagKeys::kTagsToRemove, platform::Set{"lumettaProject", "lumettaKeyWords"}}});
    EXPECT_EQ(removals(fromSet.record), strings({"lumettaProject", "lumettaKeyWords"}));
}

// The note text: the date token, and where the text goes.
TEST(RuleTagPlan, NoteTextAndPlacement) {
    struct Case {
        const char* text;
        const char* location; // nullptr: none given
        const char* old;      // nullptr: no note
        const char* expected; // nullptr: the note is removed
    };
    const Case cases[] = {
        {", done", "append", "Call back", "Call back, done"},
        {", done", "append", nullptr, ", done"},
        {"Urgent: ", "prepend", "Call back", "Urgent: Call back"},
        {"New", "replace", "Old", "New"},
        {"New", nullptr, "Old", "New"},
        {"", "append", "Old", "Old"},
        {"", nullptr, "Old", ""},
        {"", "replace", "Old", nullptr},
        {"Called $date", nullptr, nullptr, "Called 03/05/2008"},
        {"$date: paid $date", "append", "x ", "x 03/05/2008: paid 03/05/2008"},
    };
    for (const auto& c : cases) {
        Dictionary actions{{"LumettaComment", c.text}};
        if (c.location)
            actions.set("LumettaCommentLocation", c.location);
        const auto out = run(actions, c.old ? Dictionary{{TagKeys::kAnnotation, c.old}} : Dictionary());
        EXPECT_EQ(out.record.get(TagKeys::kAnnotation), c.expected ? Value(c.expected) : Value()) << c.text;
        EXPECT_EQ(removals(out.record).array()->contains("lumettaAnnotation"), c.expected == nullptr)
            << c.text;
    }
    // The token is whatever the localisation calls it, and the format the user's.
    EXPECT_EQ(run({{"LumettaComment", "Called $datum, $date"}}, {}, false, "$datum", "%d.%m.%Y")
                  .record.get(TagKeys::kAnnotation),
              Value("Called 05.03.2008, $date"));
}

// Setting and moving the due date, with the host's 32-bit whole-second arithmetic.
TEST(RuleTagPlan, DueDates) {
    const Date tenOClock = Date::fromUnix(1204707600.75); // 5 March 2008 10:00:00.75 CET
    const Dictionary due{{TagKeys::kDueDate, tenOClock}, {TagKeys::kDueDateState, 1}};
    const Dictionary dueOff{{TagKeys::kDueDate, tenOClock}, {TagKeys::kDueDateState, 0}};
    struct Case {
        const char* name;
        Dictionary actions;
        Dictionary before;
        Value date;  // expected lumettaDueDate
        Value state; // expected lumettaDueDateState
    };
    const std::vector<Case> cases = {
        {"from existing, fraction dropped",
         {{"LumettaDueDateOffset", 3}, {"LumettaDueDateFromExisting", "YES"}},
         due,
         Date{std::trunc(tenOClock.seconds) + 3 * kDay},
         1},
        {"from now", {{"LumettaDueDateOffset", -1}}, {}, kNow.addingSeconds(-kDay), 1},
        {"from now replaces a date",
         {{"LumettaDueDateOffset", "2"}},
         dueOff,
         kNow.addingSeconds(2 * kDay),
         1},
        {"from existing, state off",
         {{"LumettaDueDateOffset", 3}, {"LumettaDueDateFromExisting", "YES"}},
         dueOff,
         tenOClock,
         0},
        {"from existing, none",
         {{"LumettaDueDateOffset", 3}, {"LumettaDueDateFromExisting", "YES"}},
         {},
         Value(),
         Value()},
        {"from existing, none, switched on",
         {{"LumettaDueDateOffset", 3}, {"LumettaDueDateFromExisting", "YES"}, {"LumettaSetDueDate", "On"}},
         {},
         Date{std::trunc(kNow.seconds) + 3 * kDay},
         1},
        {"days wrap in 32 bits",
         {{"LumettaDueDateOffset", 30000}},
         {},
         kNow.addingSeconds(30000 * kDay - 4294967296.0),
         1},
        {"off keeps the date", {{"LumettaSetDueDate", "Off"}}, due, tenOClock, 0},
        {"on keeps the date", {{"LumettaSetDueDate", "On"}}, dueOff, tenOClock, 1},
        {"a date", {{"LumettaSetDueDate", kNow}}, dueOff, kNow, 1},
        {"none", {{"LumettaSetDueDate", "None"}}, due, Value(), Value()},
        {"cleared", {{"LumettaShouldClearDueDate", "YES"}}, due, Value(), Value()},
    };
    for (const auto& c : cases) {
        const auto out = run(c.actions, c.before);
        EXPECT_EQ(out.record.get(TagKeys::kDueDate), c.date) << c.name;
        EXPECT_EQ(out.record.get(TagKeys::kDueDateState), c.state) << c.name;
    }
    EXPECT_EQ(removals(run({{"LumettaSetDueDate", "None"}}, due).record),
              strings({"lumettaDueDate", "lumettaDueDateState"}));
}

// A priority or project that means "none" removes the tag; others are stored.
TEST(RuleTagPlan, PriorityAndProject) {
    const Dictionary tagged{{TagKeys::kPriority, 4}, {TagKeys::kProject, strings({"Old"})}};
    for (const Value& zero : {Value("0"), Value(0)}) {
        const auto out = run({{"LumettaPriority", zero}}, tagged);
        EXPECT_FALSE(out.record.contains(TagKeys::kPriority)) << zero.description();
        EXPECT_EQ(removals(out.record), strings({"lumettaPriority"}));
    }
    EXPECT_EQ(run({{"LumettaPriority", "3"}}, tagged).record.get(TagKeys::kPriority), Value("3"));
    const auto none = run({{"LumettaProject", "None"}}, tagged);
    EXPECT_FALSE(none.record.contains(TagKeys::kProject));
    EXPECT_EQ(removals(none.record), strings({"lumettaProject"}));
    EXPECT_EQ(run({{"LumettaProject", "P"}}, {}).record.get(TagKeys::kProject), Value(strings({"P"})));
    EXPECT_EQ(run({{"LumettaProject", strings({"P", "Q"})}}, {}).record.get(TagKeys::kProject),
              Value(strings({"P", "Q"})));
}

// Only "YES" switches a boolean action on; marks alone never reach the records.
TEST(RuleTagPlan, WhatCountsAsATagAction) {
    const Dictionary tagged{{TagKeys::kKeyWords, strings({"k"})}, {TagKeys::kGeneralFlag, 1}};
    for (const Value& notYes : {Value("yes"), Value(true), Value(1), Value("NO")})
        EXPECT_TRUE(
            run({{"LumettaShouldClearKeywords", notYes}}, tagged).record.contains(TagKeys::kKeyWords));
    const auto marksOnly = RuleTagPlan::read(Dictionary{{"MarkUnread", "YES"}, {"MarkUnflagged", "YES"}},
                                             "$date", kNow, "%m/%d/%Y");
    EXPECT_FALSE(marksOnly.touchesTags());
    EXPECT_FALSE(RuleTagPlan::read(std::nullopt, "$date", kNow, "%m/%d/%Y").touchesTags());
    EXPECT_TRUE(RuleTagPlan::read(Dictionary{{"LumettaAddKeywords", Array()}}, "$date", kNow, "%m/%d/%Y")
                    .touchesTags());
    // With another tag action, taking the flag off takes the flag tag too.
    const auto unflagged = run({{"LumettaPriority", 2}}, tagged, true);
    EXPECT_FALSE(unflagged.record.contains(TagKeys::kGeneralFlag));
    EXPECT_EQ(removals(unflagged.record), strings({"lumettaGeneralFlag"}));
}

} // namespace
