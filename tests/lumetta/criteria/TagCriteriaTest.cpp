#include "CriteriaSupport.h"
#include "lumetta/criteria/TagCriterionTypes.h"
#include "platform/foundation/Date.h"

using namespace lumetta;
using criteriatest::criterion;
using mailhost::MessageCriterion;
using platform::Array;
using platform::Date;
using platform::Dictionary;
using platform::Value;
namespace types = TagCriterionTypes;

namespace {

class TagCriteriaTest : public criteriatest::CriteriaTest {
protected:
    // Whether a message with exactly these tags satisfies the criterion.
    bool satisfies(const std::shared_ptr<MessageCriterion>& c, const Dictionary& tags) {
        auto message = plainMessage(tags);
        return c->doesMessageSatisfyCriterion(message.get());
    }

    struct Case {
        const char* what;
        int type;
        int qualifier;
        const char* expression;
        Dictionary tags;
        bool satisfied;
    };
    void expectAll(std::initializer_list<Case> cases) {
        for (const Case& c : cases)
            EXPECT_EQ(satisfies(criterion(c.type, c.qualifier, c.expression), c.tags), c.satisfied) << c.what;
    }
};

// Saved identifiers find their types, short forms included, and are written back in the
// long form; the editor's negative forms are written as the types they stand for.
TEST_F(TagCriteriaTest, IdentifiersBothWays) {
    const std::pair<const char*, int> read[] = {
        {"Comment", 4001},
        {"Lumetta Comment", 4001},
        {"Due Date", 4002},
        {"Lumetta Due Date", 4002},
        {"Project", 4003},
        {"Lumetta Project", 4003},
        {"Lumetta Priority", 4004},
        {"Lumetta KeyWord", 4005},
        {"Lumetta iCal ToDo Link", 4006},
        {"Lumetta ToDo Completed", 4008},
        {"Compound", MessageCriterion::kCompoundType},
        {"lumetta keyword", 0},
    };
    for (const auto& [identifier, type] : read)
        EXPECT_EQ(MessageCriterion::criterionTypeForString(identifier), type) << identifier;
    const std::pair<int, const char*> written[] = {
        {4001, "Lumetta Comment"},        {4002, "Lumetta Due Date"},
        {4003, "Lumetta Project"},        {4004, "Lumetta Priority"},
        {4005, "Lumetta KeyWord"},        {4006, "Lumetta iCal ToDo Link"},
        {4007, "Lumetta iCal ToDo Link"}, {4008, "Lumetta ToDo Completed"},
        {4009, "Lumetta ToDo Completed"}, {MessageCriterion::kCompoundType, "Compound"},
    };
    for (const auto& [type, identifier] : written)
        EXPECT_EQ(MessageCriterion::stringForCriterionType(type), identifier) << type;

    auto loaded = MessageCriterion::withDictionary({{MessageCriterion::kIdentifierKey, "Comment"},
                                                    {MessageCriterion::kQualifierKey, 3},
                                                    {MessageCriterion::kExpressionKey, "bob"}});
    EXPECT_EQ(loaded->criterionType(), 4001);
    loaded->setCriterionIdentifier({});
    EXPECT_EQ(loaded->dictionaryRepresentation().get(MessageCriterion::kIdentifierKey),
              Value("Lumetta Comment"));
}

// Keywords and projects: exact, case-sensitive membership, and "None" with its deliberate
// asymmetry: "is None" holds for no list and for an empty one, "is not None" only for a list.
TEST_F(TagCriteriaTest, KeywordsAndProjects) {
    const Dictionary none;
    const Dictionary empty{{"lumettaKeyWords", Array{}}};
    const Dictionary work{{"lumettaKeyWords", Array{"Work", "Home"}}};
    const Dictionary lower{{"lumettaKeyWords", Array{"work"}}};
    expectAll({
        {"is None: no keywords", types::kKeyWord, 3, "None", none, true},
        {"is None: an empty list", types::kKeyWord, 3, "None", empty, true},
        {"is None: a keyword", types::kKeyWord, 3, "None", work, false},
        {"is not None: an empty list", types::kKeyWord, 4, "None", empty, true},
        {"is not None: no list at all", types::kKeyWord, 4, "None", none, false},
        {"contains: exact", types::kKeyWord, 3, "Work", work, true},
        {"contains: case counts", types::kKeyWord, 3, "Work", lower, false},
        {"contains: no keywords", types::kKeyWord, 3, "Work", none, false},
        {"does not contain: no keywords at all", types::kKeyWord, 4, "Work", none, true},
        {"does not contain: has it", types::kKeyWord, 4, "Work", work, false},
        {"does not contain: has others", types::kKeyWord, 4, "Office", work, true},
        {"another qualifier never holds", types::kKeyWord, 0, "Work", work, false},
        {"a project title is a list of one",
         types::kProject,
         3,
         "Apollo",
         {{"lumettaProject", "Apollo"}},
         true},
        {"a project list", types::kProject, 3, "B", {{"lumettaProject", Array{"A", "B"}}}, true},
        {"project is not None: a project", types::kProject, 4, "None", {{"lumettaProject", "None"}}, true},
        {"project is not None: none set", types::kProject, 4, "None", none, false},
        {"project is None: none set", types::kProject, 3, "None", none, true},
        {"project is not A: none set", types::kProject, 4, "A", none, true},
    });
}

// Priorities compare as integers, text or number alike; "is not" has no meaning.
TEST_F(TagCriteriaTest, Priorities) {
    const Dictionary three{{"lumettaPriority", 3}};
    const Dictionary text{{"lumettaPriority", "4"}};
    expectAll({
        {"equal", types::kPriority, 3, "3", three, true},
        {"greater", types::kPriority, 6, "2", three, true},
        {"not greater", types::kPriority, 6, "3", three, false},
        {"less", types::kPriority, 5, "4", three, true},
        {"a priority saved as text", types::kPriority, 6, "3", text, true},
        {"no priority counts as 0", types::kPriority, 5, "1", {}, true},
        {"a word counts as 0", types::kPriority, 3, "high", {}, true},
        {"is not never holds", types::kPriority, 4, "1", three, false},
    });
}

// Due dates, on Wednesday 25 March 2026 at 15:30: "is N" reaches from one day back to N
// days ahead, both ends open; a date whose state is off is no due date at all.
TEST_F(TagCriteriaTest, DueDates) {
    platform::ScopedFixedClock clock{now()};
    const auto due = [&](double fromNow, int state = 1) {
        return Dictionary{{"lumettaDueDate", Date{now().seconds + fromNow}}, {"lumettaDueDateState", state}};
    };
    const double day = 86400;
    expectAll({
        {"is 0: an hour ago", types::kDueDate, 3, "0", due(-3600), true},
        {"is 0: a second short of a day ago", types::kDueDate, 3, "0", due(-day + 1), true},
        {"is 0: exactly a day ago", types::kDueDate, 3, "0", due(-day), false},
        {"is 0: now is not before now", types::kDueDate, 3, "0", due(0), false},
        {"is 1: a second short of a day ahead", types::kDueDate, 3, "1", due(day - 1), true},
        {"is 1: exactly a day ahead", types::kDueDate, 3, "1", due(day), false},
        {"within 2: past due counts", types::kDueDate, 5, "2", due(-10 * day), true},
        {"within 2: three days ahead", types::kDueDate, 5, "2", due(3 * day), false},
        {"later than 2: three days ahead", types::kDueDate, 6, "2", due(3 * day), true},
        {"later than 2: exactly two days", types::kDueDate, 6, "2", due(2 * day), false},
        {"past due", types::kDueDate, 3, "PastDue", due(-1), true},
        {"past due, but switched off", types::kDueDate, 3, "PastDue", due(-day, 0), false},
        {"None: switched off", types::kDueDate, 3, "None", due(-day, 0), true},
        {"None: no date", types::kDueDate, 3, "None", {}, true},
        {"Anything: has one", types::kDueDate, 3, "Anything", due(5 * day), true},
        {"Anything is case-sensitive", types::kDueDate, 3, "anything", due(-5 * day), false},
        {"switched on without a date is due now",
         types::kDueDate,
         5,
         "1",
         {{"lumettaDueDateState", 1}},
         true},
        {"another qualifier never holds", types::kDueDate, 4, "3", due(day), false},
    });
}

// The note is searched ignoring case whatever the qualifier; the to-do tests look only
// at whether the link and the completion are there.
TEST_F(TagCriteriaTest, NotesAndToDos) {
    const Dictionary note{{"lumettaAnnotation", "Call Bob about it"}};
    const Dictionary linked{{"lumettaICalUID", "U1"}};
    const Dictionary done{{"lumettaICalUID", "U1"}, {"lumettaICalCompletionDate", Date{800000000}}};
    expectAll({
        {"note: lower case", types::kAnnotation, 3, "bob", note, true},
        {"note: upper case", types::kAnnotation, 3, "CALL", note, true},
        {"note: 'does not contain' still contains", types::kAnnotation, 4, "bob", note, true},
        {"note: not there", types::kAnnotation, 3, "alice", note, false},
        {"note: an empty expression", types::kAnnotation, 3, "", note, false},
        {"note: no note", types::kAnnotation, 3, "bob", {}, false},
        {"linked", types::kToDoLink, 3, "YES", linked, true},
        {"not linked", types::kToDoLink, 3, "NO", linked, false},
        {"not linked: nothing", types::kToDoLink, 3, "NO", {}, true},
        {"the negative menu form answers alike", types::kNoToDoLink, 3, "YES", linked, true},
        {"completed", types::kToDoCompleted, 3, "YES", done, true},
        {"open", types::kToDoCompleted, 3, "NO", linked, true},
        {"anything but YES means no", types::kToDoCompleted, 3, "yes", done, false},
    });
}

// Every tag criterion needs what the tags are read from; a compound answers by its
// parts alone, whatever the host would say.
TEST_F(TagCriteriaTest, BodyTest) {
    for (const char* identifier : {"Lumetta Due Date", "Project", "Comment", "Lumetta KeyWord",
                                   "Lumetta iCal ToDo Link", "Lumetta ToDo Completed"}) {
        auto c = MessageCriterion::create();
        c->setCriterionIdentifier(identifier);
        EXPECT_TRUE(c->containsBodyCriterion()) << identifier;
    }
    auto body = MessageCriterion::create();
    body->setCriterionType(MessageCriterion::kBodyType);
    body->setCriterionIdentifier("Body");
    EXPECT_TRUE(body->containsBodyCriterion()) << "the host's answer for its own criteria stands";

    auto compound = MessageCriterion::create();
    compound->setCriterionType(MessageCriterion::kCompoundType);
    compound->setCriterionIdentifier("Compound");
    auto plain = MessageCriterion::create();
    plain->setCriterionIdentifier("Subject");
    compound->criteria().push_back(plain);
    EXPECT_FALSE(compound->containsBodyCriterion());
    compound->criteria().push_back(criterion(types::kKeyWord, 3, "Work"));
    EXPECT_TRUE(compound->containsBodyCriterion());
}

} // namespace
