#include "mailhost/criteria/CriterionSyntax.h"

#include "CriteriaTestSupport.h"
#include "mailhost/HostClasses.h"
#include "mailhost/criteria/HostCriteria.h"

#include <gtest/gtest.h>

using namespace mailhost;
using Reading = CriterionSyntax::Reading;

namespace {

class CriterionSyntaxTest : public ::testing::Test {
protected:
    void SetUp() override { registerHostClasses(); }
};

struct Form {
    const char* text;
    Reading reading;
    const char* shown; // how describe() writes it back; nullptr: as typed
};

const Form kForms[] = {
    {"keyword=Work", {"Lumetta KeyWord", 3, "Work"}, nullptr},
    {"keyword!=Work", {"Lumetta KeyWord", 4, "Work"}, nullptr},
    {"keyword=None", {"Lumetta KeyWord", 3, "None"}, nullptr},
    {"project=A", {"Lumetta Project", 3, "A"}, nullptr},
    {"project!=A", {"Lumetta Project", 4, "A"}, nullptr},
    {"priority>2", {"Lumetta Priority", 6, "2"}, nullptr},
    {"priority<2", {"Lumetta Priority", 5, "2"}, nullptr},
    {"priority=-1", {"Lumetta Priority", 3, "-1"}, nullptr},
    {"due-within=3", {"Lumetta Due Date", 5, "3"}, nullptr},
    {"due-after=3", {"Lumetta Due Date", 6, "3"}, nullptr},
    {"due=3", {"Lumetta Due Date", 3, "3"}, nullptr},
    {"due=past", {"Lumetta Due Date", 3, "PastDue"}, nullptr},
    {"due=None", {"Lumetta Due Date", 3, "None"}, "due=none"},
    {"due=any", {"Lumetta Due Date", 3, "Anything"}, nullptr},
    {"note~bob", {"Lumetta Comment", 0, "bob"}, nullptr},
    {"todo=linked", {"Lumetta iCal ToDo Link", 3, "YES"}, nullptr},
    {"todo=unlinked", {"Lumetta iCal ToDo Link", 3, "NO"}, nullptr},
    {"todo=completed", {"Lumetta ToDo Completed", 3, "YES"}, nullptr},
    {"todo=open", {"Lumetta ToDo Completed", 3, "NO"}, nullptr},
    {"from~alice", {"From", 0, "alice"}, nullptr},
    {"to!~bob", {"To", 4, "bob"}, nullptr},
    {"cc=x@y.org", {"Cc", 3, "x@y.org"}, nullptr},
    {"recipient$=.org", {"AnyRecipient", 2, ".org"}, nullptr},
    {"subject~invoice", {"Subject", 0, "invoice"}, nullptr},
    {"subject=Exact", {"Subject", 3, "Exact"}, nullptr},
    {"subject=", {"Subject", 3, ""}, nullptr},
    {"subject^=Re:", {"Subject", 1, "Re:"}, nullptr},
    {"Subject~a=b~c", {"Subject", 0, "a=b~c"}, "subject~a=b~c"},
    {"header:X-Mailer~foo", {"Header:X-Mailer", 0, "foo"}, nullptr},
    {"HEADER:List-Id=dev", {"Header:List-Id", 3, "dev"}, "header:List-Id=dev"},
    {"body~big invoice", {"Body", 0, "big invoice"}, nullptr},
    {"mailbox=INBOX", {"Mailbox", 3, "INBOX"}, nullptr},
    {"flagged", {"Flagged", 3, "YES"}, nullptr},
    {"unflagged", {"Flagged", 3, "NO"}, nullptr},
    {"read", {"Read", 3, "YES"}, nullptr},
    {"unread", {"Read", 3, "NO"}, nullptr},
    {"received-within=7", {"DateReceived", 5, "7"}, nullptr},
    {"received-older=30", {"DateReceived", 6, "30"}, nullptr},
    {"received-on=0", {"DateReceived", 3, "0"}, nullptr},
    {"sent-before=2026-01-01", {"DateSent", 5, "2026-01-01"}, nullptr},
    {"sent-after=2026-01-01", {"DateSent", 6, "2026-01-01"}, nullptr},
    {"sent-on=2026-02-28", {"DateSent", 3, "2026-02-28"}, nullptr},
};

// Every typed form reads as its criterion, and the criterion is written back as typed.
TEST_F(CriterionSyntaxTest, TypedFormsReadAndWriteBack) {
    for (const Form& form : kForms) {
        auto reading = CriterionSyntax::read(form.text);
        ASSERT_TRUE(reading.ok()) << form.text << ": " << reading.error().message;
        EXPECT_EQ(reading.value(), form.reading) << form.text;
        auto made = criteriatest::criterion(reading.value().identifier, reading.value().qualifier,
                                            reading.value().expression);
        EXPECT_EQ(CriterionSyntax::describe(*made), form.shown ? form.shown : form.text);
    }
}

// Text that is not a criterion is refused with what would be right.
TEST_F(CriterionSyntaxTest, MistakesSayWhatIsExpected) {
    const std::pair<const char*, const char*> cases[] = {
        {"bogus=1", "unknown criterion \"bogus=1\" (known: keyword"},
        {"keyword~Work", "keyword takes = or !="},
        {"keyword=", "keyword needs a value"},
        {"priority>high", "priority needs a whole number"},
        {"priority>=2", "priority takes =, < or >"},
        {"due-within=-1", "a number of days from 0 to 10000"},
        {"due-within=99999", "a number of days from 0 to 10000"},
        {"due=soon", "due is past, none, any or a number of days"},
        {"todo=done", "todo is linked, unlinked, completed or open"},
        {"from~", "from~ needs text to look for"},
        {"from<x", "from takes ~ (contains)"},
        {"header:~x", "write a header criterion as header:NAME~TEXT"},
        {"sent-before=2026-02-30", "sent-before needs a date written YYYY-MM-DD"},
        {"received-on=yesterday", "a date written YYYY-MM-DD or a number of days ago"},
        {"unread=yes", "unread stands alone"},
        {"", "unknown criterion \"\""},
    };
    for (const auto& [text, message] : cases) {
        auto reading = CriterionSyntax::read(text);
        ASSERT_FALSE(reading.ok()) << text;
        EXPECT_EQ(reading.error().code, CriterionSyntax::kNotReadable) << text;
        EXPECT_NE(reading.error().message.find(message), std::string::npos)
            << text << ": " << reading.error().message;
    }
}

// Criteria get their types through the seam: host ones always, tag ones only with the
// bundle (not loaded here), which is said plainly.
TEST_F(CriterionSyntaxTest, TypesComeFromTheLoadedCode) {
    auto from = CriterionSyntax::criterion("from~alice");
    ASSERT_TRUE(from.ok());
    EXPECT_EQ(from.value()->criterionType(), HostCriteria::kFrom);
    auto tag = CriterionSyntax::compound({"from~alice", "keyword=Work"}, true);
    ASSERT_FALSE(tag.ok());
    EXPECT_EQ(tag.error().code, CriterionSyntax::kNotAvailable);
    EXPECT_NE(tag.error().message.find("no loaded bundle provides"), std::string::npos);
    auto any = CriterionSyntax::compound({"from~a", "unread"}, false);
    ASSERT_TRUE(any.ok());
    EXPECT_EQ(any.value()->criterionType(), MessageCriterion::kCompoundType);
    EXPECT_EQ(CriterionSyntax::describe(*any.value()), "any of (from~a, unread)");
    // Criteria without a typed form are still described.
    EXPECT_EQ(CriterionSyntax::describe(*criteriatest::criterion("Subject", 5, "m")),
              "\"Subject\" is less than \"m\"");
}

} // namespace
