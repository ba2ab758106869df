#include "lumetta/rules/MessageRuleValidationCategory.h"

#include "RulesPluginSupport.h"
#include "mailhost/rules/MessageRule.h"

#include <functional>
#include <gtest/gtest.h>

using mailhost::MessageRule;
using mailhost::MFError;

namespace {

class MessageRuleValidationCategoryTest : public rulesplugintest::RulesPluginTest {};

std::shared_ptr<mailhost::MessageCriterion> incompleteCriterion() {
    return mailhost::MessageRuleCriterion::withDictionary({{"CriterionIdentifier", "Subject"}});
}

// The host's checks in the host's order and words; the first failure is the answer.
TEST_F(MessageRuleValidationCategoryTest, FailuresCarryTheHostsErrors) {
    struct Case {
        const char* name;
        std::function<void(MessageRule&)> make;
        const char* description;
        std::optional<std::string> helpTag;
    };
    const std::vector<Case> cases = {
        {"empty name, before the criteria",
         [](MessageRule& r) {
             r.setRuleName(std::string());
             r.criteria().push_back(incompleteCriterion());
         },
         "No description has been specified for this rule.", "tag:mlhlp1017"},
        {"move and copy without mailboxes: the move/copy text",
         [](MessageRule& r) {
             r.setShouldTransferMessage(true);
             r.setShouldCopyMessage(true);
         },
         "No destination mailbox has been selected for the Move/Copy action. Please select a mailbox or "
         "remove the "
         "action.",
         std::nullopt},
        {"copy without a mailbox",
         [](MessageRule& r) {
             r.setShouldCopyMessage(true);
             r.setCopyDestinationMailbox(std::string());
         },
         "No destination mailbox has been selected for the Copy action. Please select a mailbox or remove "
         "the action.",
         std::nullopt},
        {"a move out of the library",
         [](MessageRule& r) {
             r.setShouldTransferMessage(true);
             r.setDestinationMailbox("../Elsewhere");
         },
         "The mailbox of the Move action cannot be used: \"../Elsewhere\" is not a mailbox name: "
         "a part of it is \"..\"; mailboxes are named within the library, e.g. Projects/Apollo. "
         "Please choose a mailbox of this library.",
         std::nullopt},
        {"a copy to an absolute path",
         [](MessageRule& r) {
             r.setShouldCopyMessage(true);
             r.setCopyDestinationMailbox("/tmp/x");
         },
         "The mailbox of the Copy action cannot be used: \"/tmp/x\" is not a mailbox name: "
         "it begins with \"/\"; mailboxes are named within the library, e.g. Projects/Apollo. "
         "Please choose a mailbox of this library.",
         std::nullopt},
        {"script chosen as nothing", [](MessageRule& r) { r.setAppleScriptPath(std::string()); },
         "No AppleScript has been selected for the Run AppleScript action. Please select a script file or "
         "remove the "
         "action.",
         "tag:mlhlp1120"},
        {"forward to no one", [](MessageRule& r) { r.setAutoResponseType(MessageRule::kForward); },
         "No recipients have been specified for the Forward action. Please specify at least one recipient or "
         "remove "
         "the action.",
         std::nullopt},
        {"redirect to no one", [](MessageRule& r) { r.setAutoResponseType(MessageRule::kRedirect); },
         "No recipients have been specified for the Redirect action. Please specify at least one recipient "
         "or remove "
         "the action.",
         std::nullopt},
    };
    for (const auto& c : cases) {
        auto rule = rulesplugintest::ruleWith({});
        c.make(*rule);
        std::shared_ptr<MFError> error;
        EXPECT_FALSE(rule->isValid(&error)) << c.name;
        ASSERT_TRUE(error) << c.name;
        EXPECT_EQ(error->domain(), "MFMessageErrorDomain") << c.name;
        EXPECT_EQ(error->code(), 1030) << c.name;
        EXPECT_EQ(error->localizedDescription(), c.description) << c.name;
        EXPECT_EQ(error->title(), "Error") << c.name;
        EXPECT_EQ(error->helpTag(), c.helpTag) << c.name;
        EXPECT_FALSE(error->userInfo()) << c.name;
    }
}

// Rules without an action of the host's own are accepted, and nothing is reported.
TEST_F(MessageRuleValidationCategoryTest, RulesWithoutHostActionsAreValid) {
    const std::vector<std::shared_ptr<MessageRule>> rules = {
        rulesplugintest::ruleWith({{"LumettaAddKeywords", platform::Array{"Invoice"}}}),
        rulesplugintest::ruleWith({}),
    };
    auto unnamed = mailhost::MessageRule::create(); // a name never given is not an empty one
    unnamed->setAutoResponseType(MessageRule::kReply);
    for (const auto& rule : {rules[0], rules[1], unnamed}) {
        std::shared_ptr<MFError> error;
        EXPECT_TRUE(rule->isValid(&error));
        EXPECT_FALSE(error);
        EXPECT_TRUE(rule->isValid(nullptr));
    }
}

} // namespace
