#include "mailhost/rules/RuleActionSyntax.h"

#include "RuleTestSupport.h"
#include "mailhost/criteria/DateCondition.h"
#include "mailhost/rules/MessageRule.h"
#include "platform/foundation/Value.h"

#include <gtest/gtest.h>
#include <vector>

using namespace mailhost;
using platform::Value;

namespace {

class RuleActionSyntaxTest : public rulestest::RuleTest {};

std::shared_ptr<MessageRule> ruleWith(const std::vector<std::string>& actions) {
    auto rule = MessageRule::create();
    for (const auto& text : actions) {
        auto applied = RuleActionSyntax::apply(text, *rule);
        EXPECT_TRUE(applied.ok()) << text << ": " << (applied ? "" : applied.error().message);
    }
    return rule;
}

// What was typed comes back as typed: the listing shows a rule the way it was made.
TEST_F(RuleActionSyntaxTest, ActionsReadBackInTheirTypedForm) {
    struct Case {
        std::vector<std::string> typed;
        std::vector<std::string> shown;
    };
    const std::vector<Case> cases = {
        {{"move=Archive"}, {"move=Archive"}},
        {{"mark-read", "copy=Archive", "flag"}, {"copy=Archive", "flag", "mark-read"}},
        {{"unflag", "color=Red"}, {"unflag", "color=Red"}},
        {{"forward=a@x.org, b@y.org"}, {"forward=a@x.org,b@y.org"}},
        {{"reply"}, {"reply"}},
        {{"redirect=a@x.org", "redirect=b@y.org"}, {"redirect=a@x.org,b@y.org"}},
        {{"stop", "project=Accounts"}, {"project=Accounts", "stop"}},
        {{"add-keyword=a", "add-keyword=b", "add-keyword=a"}, {"add-keyword=a", "add-keyword=b"}},
        {{"remove-keyword=x", "clear-due", "clear-keywords", "clear-all"},
         {"clear-all", "clear-keywords", "clear-due", "remove-keyword=x"}},
        {{"priority=0"}, {"priority=0"}},
        {{"due=ON"}, {"due=on"}},
        {{"due=2026-12-01", "due+=14"}, {"due=2026-12-01", "due+=14"}},
        {{"due+=-1:existing"}, {"due+=-1:existing"}},
        {{"note=Paid on $date"}, {"note=Paid on $date"}},
        {{"note-append=, done"}, {"note-append=, done"}},
        {{"note-prepend=Urgent: "}, {"note-prepend=Urgent: "}},
        {{"note="}, {"note="}},
        {{"mark-unflagged", "mark-unread"}, {"mark-unread", "mark-unflagged"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(RuleActionSyntax::describe(*ruleWith(c.typed)), c.shown) << c.typed.front();
}

// The tag actions are kept under the keys, and with the value types, the bundle reads.
TEST_F(RuleActionSyntaxTest, TagActionsAreStoredForTheBundle) {
    auto rule = ruleWith({"project=Accounts", "priority=3", "due+=14:existing", "due=2026-12-01",
                          "note-append=Paid on $date", "add-keyword=Money", "mark-unread", "clear-all"});
    ASSERT_TRUE(rule->otherInfo());
    const platform::Dictionary& info = *rule->otherInfo();
    EXPECT_EQ(info.get("LumettaProject"), Value("Accounts"));
    EXPECT_TRUE(info.get("LumettaPriority").isInteger());
    EXPECT_EQ(info.get("LumettaPriority").intValue(), 3);
    EXPECT_EQ(info.get("LumettaDueDateOffset").intValue(), 14);
    EXPECT_EQ(info.get("LumettaDueDateFromExisting"), Value("YES"));
    const auto day = DateCondition::calendarDay("2026-12-01");
    EXPECT_EQ(info.get("LumettaSetDueDate"), Value(DateCondition::startOfLocalDay(*day)));
    EXPECT_EQ(info.get("LumettaComment"), Value("Paid on $date"));
    EXPECT_EQ(info.get("LumettaCommentLocation"), Value("append"));
    EXPECT_EQ(info.get("LumettaAddKeywords"), Value(platform::Array{"Money"}));
    EXPECT_EQ(info.get("MarkUnread"), Value("YES"));
    EXPECT_EQ(info.get("LumettaShouldClearAll"), Value("YES"));
    // Moving the due date from now forgets an earlier "from the existing date".
    ASSERT_TRUE(RuleActionSyntax::apply("due+=2", *rule).ok());
    EXPECT_FALSE(rule->otherInfo()->contains("LumettaDueDateFromExisting"));
}

// Text that is not an action is refused with the reason, and changes nothing.
TEST_F(RuleActionSyntaxTest, MalformedActionsAreRefused) {
    for (const char* text :
         {"flag=yes", "move", "move=", "priority=high", "priority=-2", "due=tomorrow", "due+=x", "due+=20000",
          "color=mauve", "forward=", "forward= , ", "teleport", "note", "=x"}) {
        auto rule = MessageRule::create();
        const auto before = rule->dictionaryRepresentation();
        auto applied = RuleActionSyntax::apply(text, *rule);
        ASSERT_FALSE(applied.ok()) << text;
        EXPECT_EQ(applied.error().code, RuleActionSyntax::kNotReadable) << text;
        EXPECT_FALSE(applied.error().message.empty());
        EXPECT_TRUE(rule->dictionaryRepresentation().isEqual(before)) << text;
    }
    auto rule = ruleWith({"reply"});
    EXPECT_FALSE(RuleActionSyntax::apply("forward=a@x.org", *rule).ok()) << "one response per rule";
}

} // namespace
