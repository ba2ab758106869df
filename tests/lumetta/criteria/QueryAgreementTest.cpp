#include "CriteriaSupport.h"
#include "lumetta/criteria/LibraryCriterionFixing.h"
#include "lumetta/criteria/TagCriterionTypes.h"
#include "lumetta/store/BulkTagChange.h"
#include "platform/spotlight/query/QueryEvaluator.h"

#include <set>

using namespace lumetta;
using mailhost::MessageCriterion;
using platform::Array;
using platform::Date;
using platform::Dictionary;
namespace types = TagCriterionTypes;

namespace {

using Selection = std::set<int>; // positions in the tagged messages, from 1

// Smart mailboxes answer tag criteria from the metadata index; rules answer them from
// the tags in memory. Over messages with the awkward values people really have, both
// must select the same messages, except where the index's query is meant to differ.
class QueryAgreementTest : public criteriatest::CriteriaTest {
protected:
    void SetUp() override {
        CriteriaTest::SetUp();
        const double h = 3600, d = 86400;
        const auto at = [&](double fromNow) {
            return Date{now().seconds + fromNow};
        };
        const Dictionary tagged[] = {
            {{"lumettaKeyWords", Array{"Work", "Home"}},
             {"lumettaProject", "Apollo"},
             {"lumettaPriority", 3},
             {"lumettaAnnotation", "Call Bob"},
             {"lumettaDueDate", at(2 * d)},
             {"lumettaDueDateState", 1}},
            {{"lumettaKeyWords", Array{"work"}},
             {"lumettaProject", Array{"A", "B"}},
             {"lumettaPriority", "5"},
             {"lumettaDueDate", at(-2 * h)},
             {"lumettaDueDateState", 1}},
            {{"lumettaKeyWords", Array{}},
             {"lumettaProject", "None"},
             {"lumettaPriority", 0},
             {"lumettaDueDate", at(d)},
             {"lumettaDueDateState", 0}},
            {},
            {{"lumettaKeyWords", Array{"w\u00F6rk"}},
             {"lumettaProject", Array{"None", "Work"}},
             {"lumettaAnnotation", "Caf\u00E9 B\u00F6b"},
             {"lumettaICalUID", "U5"},
             {"lumettaDueDate", at(-20 * h)},
             {"lumettaDueDateState", 1}},
            {{"lumettaKeyWords", Array{"Home"}},
             {"lumettaICalUID", "U6"},
             {"lumettaICalCompletionDate", at(-d)},
             {"lumettaDueDate", at(6 * d + h)},
             {"lumettaDueDateState", 1}},
        };
        BulkTagChange change;
        for (const Dictionary& tags : tagged) {
            auto message = stored(static_cast<int>(ids_.size()) + 1);
            ids_.push_back(message->libraryID());
            for (const auto& [key, value] : tags.entries())
                change.set(message, key, value);
        }
        change.commit();
    }

    Selection inMemory(const std::shared_ptr<MessageCriterion>& c) {
        Selection out;
        for (std::size_t i = 0; i < ids_.size(); ++i)
            if (c->doesMessageSatisfyCriterion(library_->message(ids_[i]).get()))
                out.insert(static_cast<int>(i + 1));
        return out;
    }

    Selection throughIndex(const std::shared_ptr<MessageCriterion>& c) {
        auto fixed = LibraryCriterionFixing::lumettaFixCriterion(nullptr, {}, c);
        Selection out;
        if (!fixed || fixed->criterionIdentifier() != MessageCriterion::kMetadataQueryIdentifier ||
            !fixed->expression()) {
            ADD_FAILURE() << "not translated";
            return out;
        }
        auto paths =
            platform::spotlight::QueryEvaluator(*library_->metadata()).evaluate(*fixed->expression());
        EXPECT_TRUE(paths.ok()) << *fixed->expression();
        for (const std::string& path : paths.valueOr({}))
            if (auto where = library_->layout().locate(path))
                for (std::size_t i = 0; i < ids_.size(); ++i)
                    if (ids_[i] == where->rowid)
                        out.insert(static_cast<int>(i + 1));
        return out;
    }

    std::vector<std::int64_t> ids_;
    platform::ScopedFixedClock clock_{now()};
};

TEST_F(QueryAgreementTest, MemoryAndIndexSelectAlike) {
    struct Case {
        int type;
        int qualifier;
        const char* expression;
        Selection both;
    };
    const Case cases[] = {
        {types::kKeyWord, 3, "Home", {1, 6}},
        {types::kKeyWord, 3, "None", {3, 4}},
        {types::kKeyWord, 4, "Home", {2, 3, 4, 5}},
        {types::kProject, 3, "B", {2}},
        {types::kProject, 4, "Apollo", {2, 3, 4, 5, 6}},
        {types::kPriority, 3, "3", {1}},
        {types::kPriority, 6, "2", {1, 2}},
        {types::kDueDate, 3, "None", {3, 4}},
        {types::kDueDate, 3, "Anything", {1, 2, 5, 6}},
        {types::kDueDate, 6, "7", {}},
        {types::kAnnotation, 3, "call", {1}},
        {types::kToDoLink, 3, "YES", {5, 6}},
        {types::kToDoLink, 3, "NO", {1, 2, 3, 4}},
        {types::kToDoCompleted, 3, "YES", {6}},
        {types::kToDoCompleted, 3, "NO", {1, 2, 3, 4, 5}},
    };
    for (const Case& c : cases) {
        auto criterion = criteriatest::criterion(c.type, c.qualifier, c.expression);
        const std::string what =
            criterion->criterionIdentifier() + " q" + std::to_string(c.qualifier) + " " + c.expression;
        EXPECT_EQ(inMemory(criterion), c.both) << what << " in memory";
        EXPECT_EQ(throughIndex(criterion), c.both) << what << " through the index";
    }
}

// Where the index's queries are meant to answer otherwise, each difference by name.
TEST_F(QueryAgreementTest, DeliberateDifferences) {
    struct Case {
        const char* difference;
        int type;
        int qualifier;
        const char* expression;
        Selection memory;
        Selection index;
    };
    const Case cases[] = {
        {"the index ignores case and accents; rules do not", types::kKeyWord, 3, "Work", {1}, {1, 2, 5}},
        {"an empty keyword list is no keywords in the index",
         types::kKeyWord,
         4,
         "None",
         {1, 2, 3, 5, 6},
         {1, 2, 5, 6}},
        {"the index holds no \"None\" project", types::kProject, 3, "None", {4, 6}, {3, 4, 5, 6}},
        {"\"is not None\" alike", types::kProject, 4, "None", {1, 2, 3, 5}, {1, 2}},
        {"\"is not\" a priority is a query, never a rule", types::kPriority, 4, "3", {}, {2, 3, 4, 5, 6}},
        {"no priority is 0 for rules, nothing for the index", types::kPriority, 5, "4", {1, 3, 4, 5, 6}, {1}},
        {"\"due within N\" counts from now for rules, from the start of today for the index",
         types::kDueDate,
         5,
         "0",
         {2, 5},
         {5}},
        {"\"is N\": rules reach a day back from now, the index starts at midnight",
         types::kDueDate,
         3,
         "1",
         {2, 5},
         {2}},
        {"the index's note search ignores accents and honours \"does not contain\"",
         types::kAnnotation,
         4,
         "bob",
         {1},
         {2, 3, 4, 6}},
    };
    for (const Case& c : cases) {
        auto criterion = criteriatest::criterion(c.type, c.qualifier, c.expression);
        EXPECT_EQ(inMemory(criterion), c.memory) << c.difference << " (in memory)";
        EXPECT_EQ(throughIndex(criterion), c.index) << c.difference << " (through the index)";
    }
}

} // namespace
