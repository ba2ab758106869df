#include "mailhost/criteria/CriterionFixing.h"

#include "CriteriaTestSupport.h"
#include "mailhost/HostClasses.h"
#include "mailhost/criteria/HostCriteria.h"
#include "platform/spotlight/query/QueryParser.h"

#include <gtest/gtest.h>

using namespace mailhost;
using criteriatest::criterion;

namespace {

class CriterionFixingTest : public ::testing::Test {
protected:
    void SetUp() override { registerHostClasses(); }

    static std::shared_ptr<MessageCriterion>
    compoundOf(bool all, std::vector<std::shared_ptr<MessageCriterion>> parts) {
        auto c = MessageCriterion::create();
        c->setCriterionType(MessageCriterion::kCompoundType);
        c->setCriterionIdentifier(MessageCriterion::kCompoundIdentifier);
        c->setAllCriteriaMustBeSatisfied(all);
        c->criteria() = std::move(parts);
        return c;
    }
};

// A body search becomes a query over the message text, byte for byte; what a person
// typed stays literal in it, quotes and wildcards included.
TEST_F(CriterionFixingTest, BodySearchBecomesATextContentQuery) {
    const std::pair<const char*, const char*> cases[] = {
        {"invoice", R"(kMDItemTextContent = "invoice"cd)"},
        {"big invoice", R"(kMDItemTextContent = "big invoice"cd)"},
        {R"(say "hi" \ 50% *now?)", R"(kMDItemTextContent = "say \"hi\" \\ 50% \*now\?"cd)"},
    };
    for (const auto& [words, query] : cases) {
        auto stored = criterion("Body", MessageCriterion::kContains, words);
        auto fixed = CriterionFixing::fixCriterion(stored);
        EXPECT_EQ(fixed->criterionIdentifier(), "MatadorBody");
        EXPECT_EQ(fixed->criterionType(), MessageCriterion::kBodyType);
        EXPECT_EQ(fixed->expression(), std::optional<std::string>(query));
        // The query reads back as the literal words.
        auto parsed = platform::spotlight::QueryParser::parse(*fixed->expression());
        ASSERT_TRUE(parsed.ok()) << parsed.error().message;
        EXPECT_EQ(parsed.value().values.at(0).text, HostCriteria::literalPattern(words));
        // The stored criterion is not the one translated.
        EXPECT_EQ(stored->criterionIdentifier(), "Body");
        EXPECT_EQ(stored->expression(), std::optional<std::string>(words));
    }
}

// A compound comes back as a copy with its body searches translated at every depth;
// the stored compound reads the same afterwards. Other criteria pass untouched.
TEST_F(CriterionFixingTest, CompoundsAreTranslatedOnACopy) {
    auto stored = compoundOf(
        false, {criterion("From", 0, "alice"),
                compoundOf(true, {criterion("Body", 0, "invoice"), criterion("Flagged", 3, "YES")}),
                criterion("Body", 0, "overdue")});
    const platform::Dictionary before = stored->dictionaryRepresentation();
    auto fixed = CriterionFixing::fixCriterion(stored);
    ASSERT_NE(fixed, stored);
    EXPECT_TRUE(stored->dictionaryRepresentation().isEqual(before));
    EXPECT_FALSE(fixed->allCriteriaMustBeSatisfied());
    ASSERT_EQ(fixed->criteria().size(), 3u);
    EXPECT_EQ(fixed->criteria()[0]->criterionIdentifier(), "From");
    const auto& inner = fixed->criteria()[1];
    EXPECT_EQ(inner->criteria()[0]->expression(),
              std::optional<std::string>(R"(kMDItemTextContent = "invoice"cd)"));
    EXPECT_EQ(inner->criteria()[1]->criterionIdentifier(), "Flagged");
    EXPECT_EQ(fixed->criteria()[2]->criterionIdentifier(), "MatadorBody");
    EXPECT_NE(fixed->criteria()[0], stored->criteria()[0]);

    auto subject = criterion("Subject", 0, "x");
    EXPECT_EQ(CriterionFixing::fixCriterion(subject), subject);
    auto query = criterion("MatadorBody", 0, "true");
    EXPECT_EQ(CriterionFixing::fixCriterion(query), query);
    EXPECT_EQ(CriterionFixing::fixCriterion(nullptr), nullptr);
}

std::shared_ptr<MessageCriterion> replacement(Class* cls, Sel sel, std::shared_ptr<MessageCriterion> c) {
    auto fixed = CriterionFixing::hostFixCriterion(cls, sel, std::move(c));
    fixed->setExpression("(" + fixed->expression().value_or("") + ")");
    return fixed;
}

// A bundle's replacement of the method runs, and can call the host's after it.
TEST_F(CriterionFixingTest, TheMethodIsReplaceable) {
    criteriatest::ScopedFixCriterion replaced(&replacement);
    auto fixed = CriterionFixing::fixCriterion(criterion("Body", 0, "invoice"));
    EXPECT_EQ(fixed->expression(), std::optional<std::string>(R"((kMDItemTextContent = "invoice"cd))"));
}

} // namespace
