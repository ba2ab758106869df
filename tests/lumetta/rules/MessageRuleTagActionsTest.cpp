#include "lumetta/rules/MessageRuleTagActions.h"

#include "RulesPluginSupport.h"
#include "lumetta/core/AttachedStateCategories.h"
#include "lumetta/store/TagKeys.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/runtime/Runtime.h"

#include <gtest/gtest.h>

using namespace lumetta;
using mailhost::MessageRule;
using platform::Array;
using platform::Dictionary;
using platform::Value;

namespace {

using Actions = MessageRuleTagActions;
using rulesplugintest::ruleWith;
constexpr std::uint64_t kRead = 1, kFlagged = 16;

class MessageRuleTagActionsTest : public rulesplugintest::RulesPluginTest {};

// The extra dictionary is replaced on every change, never edited where the host holds it.
TEST_F(MessageRuleTagActionsTest, ActionsReplaceTheDictionary) {
    auto rule = MessageRule::create();
    EXPECT_TRUE(Actions::lumettaValueForAction(rule.get(), {}, "LumettaProject").isNull());
    Actions::lumettaSetValueForAction(rule.get(), {}, "Accounts", "LumettaProject");
    const Dictionary before = *rule->otherInfo();
    Actions::lumettaSetBooleanForAction(rule.get(), {}, true, "LumettaShouldClearAll");
    EXPECT_FALSE(before.contains("LumettaShouldClearAll")) << "the old dictionary was edited";
    EXPECT_FALSE(rule->otherInfo()->sameReference(before));
    EXPECT_TRUE(Actions::lumettaBooleanForAction(rule.get(), {}, "LumettaShouldClearAll"));
    Actions::lumettaSetBooleanForAction(rule.get(), {}, false, "LumettaShouldClearAll");
    Actions::lumettaSetValueForAction(rule.get(), {}, Value(), "LumettaProject");
    EXPECT_TRUE(rule->otherInfo()->empty());
    for (const Value& notYes : {Value("yes"), Value(1), Value(true)}) {
        rule->setOtherInfo(Dictionary{{"MarkUnread", notYes}});
        EXPECT_FALSE(Actions::lumettaBooleanForAction(rule.get(), {}, "MarkUnread")) << notYes.description();
    }
}

// The marks to take off, as a flag word and as the two saved booleans.
TEST_F(MessageRuleTagActionsTest, FlagsToRemoveRoundTrip) {
    auto rule = MessageRule::create();
    EXPECT_EQ(Actions::flagsToRemove(rule.get()), 0u);
    struct Case {
        unsigned set;
        const char* unread;
        const char* unflagged;
        unsigned read;
    };
    for (const Case& c : {Case{0, "NO", "NO", 0}, Case{1, "YES", "NO", 1}, Case{16, "NO", "YES", 16},
                          Case{17, "YES", "YES", 17}, Case{2 | 64, "NO", "NO", 0}}) {
        Actions::setFlagsToRemove(rule.get(), {}, c.set);
        EXPECT_EQ(rule->otherInfo()->get("MarkUnread"), Value(c.unread)) << c.set;
        EXPECT_EQ(rule->otherInfo()->get("MarkUnflagged"), Value(c.unflagged)) << c.set;
        EXPECT_EQ(Actions::flagsToRemove(rule.get()), c.read) << c.set;
    }
}

// Every rule gets its attached state as it is made, and loses it when it goes.
TEST_F(MessageRuleTagActionsTest, RulesCarryAttachedState) {
    const auto before = MessageRuleCategory::entryCount();
    const void* address = nullptr;
    {
        auto rule = MessageRule::create();
        address = rule.get();
        EXPECT_TRUE(MessageRuleCategory::hasExtraIVars(address));
        EXPECT_EQ(MessageRuleCategory::entryCount(), before + 1);
    }
    EXPECT_EQ(MessageRuleCategory::entryCount(), before);
}

// Taking the flagged mark off alone leaves the flag tag; taking the read mark off never
// touches the tags at all.
TEST_F(MessageRuleTagActionsTest, MarksAloneLeaveTheTags) {
    auto flagged = add(1, {{TagKeys::kGeneralFlag, 1}, {TagKeys::kKeyWords, Array{"k"}}}, kRead | kFlagged);
    route({ruleWith({{"MarkUnflagged", "YES"}})}, {flagged});
    EXPECT_EQ(filePlist(*flagged).get("flags").unsignedValue() & (kRead | kFlagged), kRead);
    EXPECT_EQ(filePlist(*flagged).get(TagKeys::kGeneralFlag), Value(1));
    EXPECT_EQ(record(*flagged).get(TagKeys::kGeneralFlag), Value(1));

    auto read = add(2, {{TagKeys::kProject, Array{"P"}}}, kRead);
    const Dictionary tagsBefore = record(*read).mutableCopy();
    route({ruleWith({{"MarkUnread", "YES"}})}, {read});
    EXPECT_EQ(filePlist(*read).get("flags").unsignedValue() & kRead, 0u);
    EXPECT_TRUE(record(*read).isEqual(tagsBefore)) << Value(record(*read)).description();
}

// The note's date comes from the clock, in the user's format or the default one.
TEST_F(MessageRuleTagActionsTest, NoteDateUsesTheClockAndTheUserFormat) {
    platform::ScopedFixedClock clock(platform::Date::fromUnix(1204714800)); // 5 March 2008, noon CET
    auto message = add(1);
    route({ruleWith({{"LumettaComment", "Called $date"}})}, {message});
    EXPECT_EQ(filePlist(*message).get(TagKeys::kAnnotation), Value("Called 03/05/2008"));
    platform::UserDefaults::standard().setObject("%d.%m.%Y", "lumettaDateFormatForNote");
    route({ruleWith({{"LumettaComment", " / $date"}, {"LumettaCommentLocation", "append"}})},
          {library_->message(message->libraryID())});
    EXPECT_EQ(filePlist(*message).get(TagKeys::kAnnotation), Value("Called 03/05/2008 / 05.03.2008"));
}

// Routing ends with the panel told once and every routed message saved: the tags are in
// the files and in the index, even for a rule that moves the messages on.
TEST_F(MessageRuleTagActionsTest, RoutedTagsReachFilesAndIndex) {
    int notices = 0;
    const auto token = platform::NotificationCenter::defaultCenter().addObserver(
        "LURulesWereApplied", nullptr, [&](const platform::Notification&) { ++notices; });
    auto a = add(1), b = add(2);
    auto tagging = ruleWith({{"LumettaProject", "Accounts"}, {"LumettaAddKeywords", Array{"Money"}}});
    auto mover = ruleWith({{"LumettaPriority", 2}});
    mover->setShouldTransferMessage(true);
    mover->setDestinationMailbox(std::string("Archive"));
    mover->criteria().push_back(mailhost::MessageRuleCriterion::withDictionary(
        {{"CriterionIdentifier", "Subject"}, {"Qualifier", 0}, {"Expression", "Message 2"}}));
    route({tagging, mover}, {a, b});
    platform::NotificationCenter::defaultCenter().removeObserver(token);
    EXPECT_EQ(notices, 1);
    EXPECT_EQ(filePlist(*a).get(TagKeys::kProject), Value(Array{"Accounts"}));
    EXPECT_EQ(indexed(*a, "kMDItemProjects"), Value(Array{"Accounts"}));
    EXPECT_EQ(indexed(*a, "kMDItemKeywords"), Value(Array{"Money"}));
    const auto archived = library_->messagesInMailbox("Archive");
    ASSERT_EQ(archived.size(), 1u);
    const auto& moved = static_cast<const mailhost::LibraryMessage&>(*archived.front());
    EXPECT_EQ(filePlist(moved).get(TagKeys::kPriority), Value(2));
    EXPECT_EQ(filePlist(moved).get(TagKeys::kProject), Value(Array{"Accounts"}));
    EXPECT_EQ(indexed(moved, "kMDItemStarRating"), Value(2));
    EXPECT_EQ(library_->messagesInMailbox("INBOX").size(), 1u);
}

// Clearing everything deletes the linked to-do through the calendar's operation.
TEST_F(MessageRuleTagActionsTest, ClearAllDeletesTheLinkedToDo) {
    static int deletions = 0;
    deletions = 0;
    auto* cls = platform::runtime::Runtime::classNamed("Message");
    using Imp = void (*)(platform::runtime::Object*, platform::runtime::Sel);
    Imp stand = [](platform::runtime::Object*, platform::runtime::Sel) {
        ++deletions;
    };
    cls->addInstanceMethod("lumettaDeleteToDoInICal", stand); // when the calendar is not in this build
    auto* method = cls->instanceMethod("lumettaDeleteToDoInICal");
    auto* previous = method->exchange(reinterpret_cast<void (*)()>(stand));
    auto linked = add(1, {{TagKeys::kICalUID, "uid-1"}, {TagKeys::kKeyWords, Array{"k"}}});
    route({ruleWith({{"LumettaShouldClearAll", "YES"}})}, {linked});
    method->exchange(previous);
    EXPECT_EQ(deletions, 1);
    EXPECT_FALSE(filePlist(*linked).contains(TagKeys::kICalUID));
    EXPECT_FALSE(filePlist(*linked).contains(TagKeys::kKeyWords));
}

} // namespace
