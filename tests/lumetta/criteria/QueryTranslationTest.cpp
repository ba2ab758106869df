#include "CriteriaSupport.h"
#include "lumetta/criteria/LibraryCriterionFixing.h"
#include "lumetta/criteria/TagCriterionTypes.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/UserDefaults.h"
#include "support/GoldenFile.h"

#include <sstream>

using namespace lumetta;
using mailhost::MessageCriterion;
namespace fs = std::filesystem;

namespace {

using CriterionRef = std::shared_ptr<MessageCriterion>;

CriterionRef made(const char* identifier, int qualifier, const char* expression) {
    auto c = MessageCriterion::create();
    c->setCriterionIdentifier(identifier);
    c->setCriterionType(MessageCriterion::criterionTypeForString(identifier));
    c->setQualifier(qualifier);
    c->setExpression(expression ? std::optional<std::string>(expression) : std::nullopt);
    return c;
}

CriterionRef compoundOf(bool all, std::initializer_list<CriterionRef> parts) {
    auto c = MessageCriterion::create();
    c->setCriterionType(MessageCriterion::kCompoundType);
    c->setCriterionIdentifier(MessageCriterion::kCompoundIdentifier);
    c->setAllCriteriaMustBeSatisfied(all);
    for (const auto& part : parts)
        c->criteria().push_back(part);
    return c;
}

// One criterion as a line: identifier, qualifier and expression, the expression in
// brackets so that its blanks show.
std::string line(const MessageCriterion& c) {
    return c.criterionIdentifier() + " q" + std::to_string(c.qualifier()) + " [" +
           (c.expression() ? *c.expression() : std::string("(no expression)")) + "]";
}

struct Row {
    const char* identifier;
    int qualifier;
    const char* expression;
};

// Every row of the translation of a criterion on its own and as the part of a compound.
const Row kRows[] = {
    {"MatadorBody", 0, "kMDItemTextContent = \"invoice\"cd"},
    {"MatadorBody", 0, "kMDItemTextContent = \"a\"cd && kMDItemTextContent = \"b\"cd"},
    {"Comment", 4, "bob"},
    {"Lumetta Comment", 3, "bob"},
    {"Lumetta iCal ToDo Link", 3, "NO"},
    {"Lumetta iCal ToDo Link", 3, "YES"},
    {"Lumetta iCal ToDo Link", 3, "maybe"},
    {"Lumetta ToDo Completed", 3, "YES"},
    {"Lumetta ToDo Completed", 3, "NO"},
    {"Lumetta ToDo Completed", 3, "2026"},
    {"Project", 3, "None"},
    {"Lumetta Project", 4, "None"},
    {"Lumetta Project", 4, "Apollo"},
    {"Lumetta Project", 0, "Apo"},
    {"Lumetta Project", 3, "Apollo"},
    {"Lumetta Project", 1, "Apollo"},
    {"Lumetta KeyWord", 3, "None"},
    {"Lumetta KeyWord", 4, "None"},
    {"Lumetta KeyWord", 4, "Work"},
    {"Lumetta KeyWord", 0, "Wo"},
    {"Lumetta KeyWord", 3, "Work"},
    {"Lumetta KeyWord", 3, "say \"hi\"*"},
    {"Lumetta Priority", 3, "2"},
    {"Lumetta Priority", 4, "2"},
    {"Lumetta Priority", 6, "2"},
    {"Lumetta Priority", 5, "2"},
    {"Lumetta Priority", 0, "2"},
    {"Due Date", 6, "3"},
    {"Lumetta Due Date", 5, "2"},
    {"Lumetta Due Date", 3, "PastDue"},
    {"Lumetta Due Date", 3, "None"},
    {"Lumetta Due Date", 3, "Anything"},
    {"Lumetta Due Date", 3, "2"},
    {"Lumetta Due Date", 3, "soon"},
    {"Lumetta Due Date", 0, "2"},
    {"Subject", 0, "invoice"},
};

class QueryTranslationTest : public criteriatest::CriteriaTest {};

// Byte for byte, against the golden file: every template's spacing, its single or double
// "=", its trailing blanks and the unescaped quote of a typed expression.
TEST_F(QueryTranslationTest, EveryTemplate) {
    std::ostringstream out;
    for (const Row& row : kRows) {
        auto single = made(row.identifier, row.qualifier, row.expression);
        const std::string before = line(*single);
        LibraryCriterionFixing::lumettaFixSingleMatadorQuery(nullptr, {}, single);
        out << before << "\n  alone:   " << line(*single) << "\n";
        auto part = made(row.identifier, row.qualifier, row.expression);
        auto compound = compoundOf(true, {part});
        LibraryCriterionFixing::lumettaFixCompoundMatadorQuery(nullptr, {}, compound);
        out << "  in a compound: " << line(*compound->criteria().front()) << "\n";
    }
    const std::string diff =
        testsupport::compareWithGolden(fs::path(LUMETTA_TEST_DATA_DIR) / "translations.golden", out.str());
    EXPECT_TRUE(diff.empty()) << diff;
}

// A compound becomes one part holding the whole query, built backwards so that later
// parts come first; host parts stay beside it, and the mailbox's own criterion is not
// touched.
TEST_F(QueryTranslationTest, CompoundsMergeIntoOnePart) {
    auto project = made("Lumetta Project", 3, "A");
    auto subject = made("Subject", 0, "invoice");
    auto keyword = made("Lumetta KeyWord", 3, "B");
    auto stored = compoundOf(true, {project, subject, keyword});
    auto fixed = LibraryCriterionFixing::lumettaFixCriterion(nullptr, {}, stored);
    ASSERT_NE(fixed, stored);
    ASSERT_EQ(fixed->criteria().size(), 2u);
    EXPECT_EQ(line(*fixed->criteria()[0]), "Subject q0 [invoice]");
    EXPECT_EQ(line(*fixed->criteria()[1]),
              "MatadorBody q3 [kMDItemKeywords == \"B\"cd && kMDItemProjects = \"A\"cd ]");
    EXPECT_TRUE(fixed->allCriteriaMustBeSatisfied());
    EXPECT_EQ(stored->criteria().size(), 3u);
    EXPECT_EQ(line(*stored->criteria()[2]), "Lumetta KeyWord q3 [B]");

    // "Any" joins with ||; a nested compound is translated on its own first.
    auto nested = compoundOf(false, {made("Lumetta Priority", 6, "3"), made("Comment", 0, "call")});
    auto any = compoundOf(false, {made("Lumetta KeyWord", 4, "None"), nested});
    auto fixedAny = LibraryCriterionFixing::lumettaFixCriterion(nullptr, {}, any);
    ASSERT_EQ(fixedAny->criteria().size(), 2u);
    EXPECT_EQ(line(*fixedAny->criteria()[0]), "MatadorBody q4 [kMDItemKeywords == \"*\"cd ]");
    const auto& inner = fixedAny->criteria()[1];
    ASSERT_EQ(inner->criteria().size(), 1u);
    EXPECT_EQ(line(*inner->criteria()[0]),
              "MatadorBody q0 [kMDItemComment == \"*call*\"cd || kMDItemStarRating > \"3\"cd]");
}

// A compound of host criteria alone comes back as an unchanged copy; a single host
// criterion comes back as it is.
TEST_F(QueryTranslationTest, HostCriteriaPassThrough) {
    auto stored = compoundOf(true, {made("Subject", 0, "a"), made("From", 0, "b")});
    auto fixed = LibraryCriterionFixing::lumettaFixCriterion(nullptr, {}, stored);
    ASSERT_NE(fixed, stored);
    EXPECT_EQ(platform::Value(fixed->dictionaryRepresentation()),
              platform::Value(stored->dictionaryRepresentation()));
    auto single = made("Subject", 0, "a");
    EXPECT_EQ(LibraryCriterionFixing::lumettaFixCriterion(nullptr, {}, single), single);
    EXPECT_EQ(line(*single), "Subject q0 [a]");
}

// The compound translation of a note leaves its two trace lines at level 2 only.
TEST_F(QueryTranslationTest, NoteTranslationTraces) {
    for (int level : {1, 2}) {
        platform::UserDefaults::standard().setObject(level, "lumettaDebugLogging");
        platform::ScopedLogCapture log;
        auto compound = compoundOf(true, {made("Comment", 0, "x"), made("Lumetta KeyWord", 3, "W")});
        LibraryCriterionFixing::lumettaFixCompoundMatadorQuery(nullptr, {}, compound);
        EXPECT_EQ(log.contains("Fixed SpotLight Query:\n Old Criteria: "), level > 1);
        EXPECT_EQ(log.contains("[NSString stringWithFormat:@'thisCrit patch&& ']"), level > 1);
    }
}

} // namespace
