#include "mailhost/rules/MessageRules.h"

#include "RuleTestSupport.h"
#include "mailhost/criteria/CriterionSyntax.h"
#include "mailhost/rules/MessageRuleValidation.h"
#include "mailhost/rules/RuleActionSyntax.h"
#include "platform/foundation/AtomicFile.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Runtime.h"
#include "support/ChildProcesses.h"

#include <functional>
#include <gtest/gtest.h>

using namespace mailhost;
using platform::Value;

namespace {

class MessageRulesTest : public rulestest::RuleTest {
protected:
    std::filesystem::path root() const { return library_->layout().root(); }
};

// A rule keeps everything, its extra dictionary included, through the rules file.
TEST_F(MessageRulesTest, RulesSurviveSavingAndLoading) {
    auto store = MessageRules::load(root());
    ASSERT_TRUE(store.ok());
    EXPECT_TRUE(store.value().rules().empty()) << "no file is no rules";
    auto rule = rulestest::typedRule("Invoices", {"subject~Invoice", "from~ann"},
                                     {"move=Archive", "color=#00ff00", "run=/bin/true", "forward=a@x.org",
                                      "project=Accounts", "due=2026-12-01", "add-keyword=Money", "stop"});
    rule->setAllCriteriaMustBeSatisfied(false);
    rule->setSoundPath("Glass");
    rule->setFlagsToApply(1u << 4);
    store.value().add(rule);
    auto off = rulestest::typedRule("Off", {}, {"flag"});
    off->setActive(false);
    store.value().add(off);
    ASSERT_TRUE(store.value().save().ok());

    auto again = MessageRules::load(root());
    ASSERT_TRUE(again.ok()) << again.error().message;
    ASSERT_EQ(again.value().rules().size(), 2u);
    const auto& read = *again.value().rules().front();
    EXPECT_TRUE(read.dictionaryRepresentation().isEqual(rule->dictionaryRepresentation()));
    EXPECT_EQ(RuleActionSyntax::describe(read), RuleActionSyntax::describe(*rule));
    ASSERT_EQ(read.criteria().size(), 2u);
    EXPECT_EQ(CriterionSyntax::describe(*read.criteria()[1]), "from~ann");
    EXPECT_TRUE(read.otherInfo()->get("LumettaSetDueDate").isDate());
    EXPECT_EQ(again.value().activeRules().size(), 1u);
    EXPECT_EQ(again.value().rule("Off")->isActive(), false);
}

// A rules file that does not read is reported and never replaced.
TEST_F(MessageRulesTest, DamagedFileIsReportedAndLeftAlone) {
    const auto file = root() / MessageRules::kFileName;
    const std::vector<std::string> damaged = {
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>rules</key><array><dict>",
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><array/></plist>",
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>rules</key><array><string>x</string>"
        "</array></dict></plist>",
    };
    for (const auto& bytes : damaged) {
        testsupport::writeBytes(file, bytes);
        auto store = MessageRules::load(root());
        ASSERT_FALSE(store.ok()) << bytes;
        EXPECT_NE(store.error().message.find("damaged"), std::string::npos) << store.error().message;
        EXPECT_EQ(platform::AtomicFile::read(file).value(), bytes);
    }
}

// Programs that change the rules at the same moment all keep their changes.
TEST_F(MessageRulesTest, SimultaneousEditsAllLand) {
    constexpr int kPrograms = 4, kEdits = 8;
    EXPECT_TRUE(testsupport::runInChildProcesses(kPrograms, [&](int p) {
        for (int e = 0; e < kEdits; ++e) {
            auto store = MessageRules::edit(root());
            if (!store)
                return 1;
            store.value().add(
                rulestest::typedRule("R" + std::to_string(p) + "-" + std::to_string(e), {}, {"flag"}));
            if (!store.value().save())
                return 2;
        }
        return 0;
    }));
    EXPECT_EQ(MessageRules::load(root()).value().rules().size(), std::size_t{kPrograms * kEdits});
}

// A copy of a rule is a rule of its own: editing one never shows in the other.
TEST_F(MessageRulesTest, CopiedRuleSharesNothing) {
    auto rule = rulestest::typedRule("A", {"subject~x"}, {"project=P", "add-keyword=k"});
    auto copy = MessageRule::withRule(*rule);
    ASSERT_TRUE(copy);
    EXPECT_TRUE(copy->dictionaryRepresentation().isEqual(rule->dictionaryRepresentation()));
    platform::Array(*copy->otherInfo()->get("LumettaAddKeywords").array()).add("other");
    platform::Dictionary(*copy->otherInfo()).set("LumettaProject", "Q");
    copy->criteria().front()->setExpression("y");
    EXPECT_EQ(RuleActionSyntax::describe(*rule), (std::vector<std::string>{"add-keyword=k", "project=P"}));
    EXPECT_EQ(*rule->criteria().front()->expression(), "x");
}

// Bundles find the extra dictionary by the variable's name, as its address.
TEST_F(MessageRulesTest, ExtraDictionaryIsReachableByName) {
    auto rule = MessageRule::create();
    auto* cls = platform::runtime::Runtime::classNamed(MessageRule::kClassName);
    auto* variable = cls->instanceMethod(MessageRule::kOtherInfoVariable);
    ASSERT_NE(variable, nullptr);
    ASSERT_EQ(variable->type(), std::type_index(typeid(MessageRule::OtherInfoSlot)));
    auto* slot = reinterpret_cast<MessageRule::OtherInfoSlot>(variable->imp())(rule.get(), "_otherInfo");
    ASSERT_NE(slot, nullptr);
    EXPECT_FALSE(*slot);
    *slot = platform::Dictionary{{"LumettaProject", "P"}};
    EXPECT_EQ(rule->otherInfo()->get("LumettaProject"), Value("P"));
}

// The client's own check: the first failure, in the client's words.
TEST_F(MessageRulesTest, ClientRefusesIncompleteRules) {
    const auto incomplete = [] {
        return MessageRuleCriterion::withDictionary({{"CriterionIdentifier", "Subject"}});
    };
    struct Case {
        std::function<void(MessageRule&)> make;
        const char* text; // a fragment of the description
        std::optional<std::string> helpTag;
    };
    const std::vector<Case> cases = {
        {[&](MessageRule& r) {
             r.setRuleName(std::string());
             r.criteria().push_back(incomplete());
         },
         "No description has been specified", "tag:mlhlp1017"},
        {[](MessageRule& r) {
             r.setShouldTransferMessage(true);
             r.setShouldCopyMessage(true);
         },
         "for the Move/Copy action", std::nullopt},
        {[&](MessageRule& r) { r.criteria().push_back(incomplete()); }, "needs something to compare with",
         std::nullopt},
        {[](MessageRule& r) {
             r.setShouldTransferMessage(true);
             r.setDestinationMailbox("../Elsewhere");
         },
         "The mailbox of the Move action cannot be used: \"../Elsewhere\" is not a mailbox name",
         std::nullopt},
        {[](MessageRule& r) {
             r.setShouldCopyMessage(true);
             r.setCopyDestinationMailbox("/tmp/x");
         },
         "The mailbox of the Copy action cannot be used: \"/tmp/x\" is not a mailbox name", std::nullopt},
        {[](MessageRule& r) {
             r.setShouldTransferMessage(true);
             r.setDestinationMailbox("Two\nlines");
         },
         "\"Two\\nlines\" is not a mailbox name: it holds a control character", std::nullopt},
        {[](MessageRule& r) { r.setAppleScriptPath(std::string()); }, "Run AppleScript", "tag:mlhlp1120"},
        {[](MessageRule& r) { r.setAutoResponseType(MessageRule::kRedirect); }, "Redirect action",
         std::nullopt},
        {[](MessageRule& r) { r.setFlagsToApply(0); }, "No actions have been specified", std::nullopt},
    };
    for (const auto& c : cases) {
        auto rule = rulestest::typedRule("R", {}, {"flag"});
        c.make(*rule);
        if (std::string(c.text) == "No actions have been specified") {
            ASSERT_TRUE(RuleActionSyntax::apply("project=P", *rule).ok()); // a tag action is not the client's
        }
        std::shared_ptr<MFError> error;
        EXPECT_FALSE(rule->isValid(&error)) << c.text;
        ASSERT_TRUE(error) << c.text;
        EXPECT_NE(error->localizedDescription().find(c.text), std::string::npos)
            << error->localizedDescription();
        EXPECT_EQ(error->helpTag(), c.helpTag) << c.text;
        EXPECT_EQ(error->code(), MessageRuleValidation::kInvalidRuleCode);
        EXPECT_EQ(error->domain(), "MFMessageErrorDomain");
        EXPECT_EQ(error->title(), "Error");
    }
    auto fine = rulestest::typedRule("Fine", {"subject~x"}, {"move=Archive"});
    std::shared_ptr<MFError> untouched;
    EXPECT_TRUE(fine->isValid(&untouched));
    EXPECT_FALSE(untouched);
}

} // namespace
