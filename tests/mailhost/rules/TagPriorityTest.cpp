#include "mailhost/rules/TagPriority.h"

#include "mailhost/rules/MessageRule.h"
#include "mailhost/rules/RuleActionSyntax.h"

#include <gtest/gtest.h>

using namespace mailhost;

namespace {

// The range tagging by hand accepts, and a rule's priority= with it, in the same words.
TEST(TagPriority, RulesAndTaggingAcceptTheSameRange) {
    const std::pair<const char*, int> accepted[] = {{"0", 0}, {"1", 1}, {"5", 5}, {"+3", 3}};
    for (const auto& [text, value] : accepted) {
        auto read = TagPriority::read(text, "--priority");
        ASSERT_TRUE(read.ok()) << text;
        EXPECT_EQ(read.value(), value);
        auto rule = MessageRule::create();
        EXPECT_TRUE(RuleActionSyntax::apply(std::string("priority=") + text, *rule).ok()) << text;
    }
    for (const char* text : {"6", "9", "1000", "-1", "", "x", "3.5", "2 ", "99999999999"}) {
        auto read = TagPriority::read(text, "--priority \"" + std::string(text) + "\"");
        ASSERT_FALSE(read.ok()) << text;
        EXPECT_EQ(read.error().message, "--priority \"" + std::string(text) +
                                            "\": give a whole number from 1 (low) to 5 (high), or 0 to "
                                            "remove the priority");
        auto rule = MessageRule::create();
        auto applied = RuleActionSyntax::apply(std::string("priority=") + text, *rule);
        ASSERT_FALSE(applied.ok()) << text;
        EXPECT_EQ(applied.error().code, RuleActionSyntax::kNotReadable);
        if (*text != '\0') {
            EXPECT_EQ(applied.error().message, "priority=" + std::string(text) +
                                                   ": give a whole number from 1 (low) to 5 (high), or 0 "
                                                   "to remove the priority");
        }
    }
}

} // namespace
