#include "mailhost/criteria/HostCriteria.h"

#include "CriteriaTestSupport.h"
#include "mailhost/HostClasses.h"
#include "mailhost/criteria/DateCondition.h"
#include "mailhost/mail/Library.h"
#include "platform/foundation/Date.h"
#include "support/MessageFileSupport.h"

#include <gtest/gtest.h>

using namespace mailhost;
using criteriatest::criterion;
using criteriatest::TextMessage;

namespace {

const char kMessage[] = "From: =?UTF-8?Q?J=C3=BCrgen_M=C3=BCller?= <jm@example.org>\n"
                        "To: Ada Lovelace <ada@example.org>, grace@example.org\n"
                        "Cc: Team: tom@example.org, Zoe <zoe@example.org>;\n"
                        "Subject: Re: Invoice 114 =?UTF-8?Q?f=C3=BCr_Caf=C3=A9?=\n"
                        "X-Mailer: Mutt/2.2\n"
                        "X-Mailer: second\n"
                        "Date: Tue, 17 Nov 2026 14:30:00 +0100\n"
                        "\n"
                        "Please pay the invoice for the Caf\xC3\xA9 *today*.\n";
// No Cc, no Date, no X-Mailer.
const char kSparse[] = "From: carl@example.org\nSubject: Lunch\n\nPasta?\n";

constexpr int kContains = 0, kBegins = 1, kEnds = 2, kIs = 3, kNot = 4, kLess = 5, kMore = 6;

struct Case {
    const char* identifier;
    int qualifier;
    const char* expression;
    bool full;   // expected for kMessage
    bool sparse; // expected for kSparse
};

class HostCriteriaTest : public ::testing::Test {
protected:
    void SetUp() override { registerHostClasses(); }
};

// Text criteria ignore case and accents, test addresses person by person, and a field
// the message lacks satisfies "does not contain" only.
TEST_F(HostCriteriaTest, TextCriteria) {
    const Case cases[] = {
        {"From", kContains, "muller", true, false},
        {"From", kContains, "JM@EXAMPLE", true, false},
        {"From", kIs, "jm@example.org", true, false},
        {"From", kIs, "J\xC3\xBCrgen M\xC3\xBCller", true, false},
        {"From", kIs, "jurgen", false, false},
        {"From", kBegins, "j\xC3\xBCrgen", true, false},
        {"From", kEnds, ".ORG", true, true},
        {"From", kNot, "alice", true, true},
        {"From", kNot, "m\xC3\xBCller", false, true},
        {"To", kContains, "grace", true, false},
        {"To", kContains, "zoe", false, false},
        {"Cc", kIs, "tom@example.org", true, false},
        {"Cc", kNot, "nobody", true, true},
        {"Cc", kIs, "", false, false},
        {"AnyRecipient", kContains, "zoe", true, false},
        {"AnyRecipient", kIs, "ada lovelace <ada@example.org>", true, false},
        {"Subject", kBegins, "re:", true, false},
        {"Subject", kEnds, "cafe", true, false},
        {"Subject", kIs, "RE: invoice 114 fur cafe", true, false},
        {"Subject", kContains, "invoice 115", false, false},
        {"Subject", kLess, "z", false, false},
        {"Header:X-Mailer", kBegins, "mutt", true, false},
        {"Header:X-Mailer", kIs, "second", true, false},
        {"Header:x-mailer", kContains, "MUTT", true, false},
        {"Header:X-Spam", kNot, "yes", true, true},
        {"Mailbox", kNot, "Trash", true, true},
        {"Mailbox", kIs, "", false, false},
    };
    TextMessage full(kMessage), sparse(kSparse);
    for (const Case& c : cases) {
        auto test = criterion(c.identifier, c.qualifier, c.expression);
        EXPECT_EQ(test->doesMessageSatisfyCriterion(&full), c.full)
            << c.identifier << " " << c.qualifier << " \"" << c.expression << "\" (full)";
        EXPECT_EQ(test->doesMessageSatisfyCriterion(&sparse), c.sparse)
            << c.identifier << " " << c.qualifier << " \"" << c.expression << "\" (sparse)";
    }
}

// The body is searched by words, as the index searches kMDItemTextContent; wildcard
// characters typed by a person are literal.
TEST_F(HostCriteriaTest, BodyCriteria) {
    const std::pair<const char*, bool> cases[] = {
        {"invoice", true}, {"CAFE", true},  {"pay the", true},
        {"voice", false},  {"inv*", false}, {"tomorrow", false},
    };
    TextMessage message(kMessage);
    for (const auto& [words, expected] : cases)
        EXPECT_EQ(criterion("Body", kContains, words)->doesMessageSatisfyCriterion(&message), expected)
            << words;
    // A query is for the index: message by message it selects nothing.
    EXPECT_FALSE(criterion("MatadorBody", kContains, "kMDItemTextContent = \"invoice\"cd")
                     ->doesMessageSatisfyCriterion(&message));
    EXPECT_TRUE(criterion("Body", kContains, "x")->containsBodyCriterion());
    EXPECT_FALSE(criterion("Subject", kContains, "x")->containsBodyCriterion());
}

// Read is bit 0 and flagged bit 4 of the flag word; "does not contain" reads "is not".
TEST_F(HostCriteriaTest, FlagCriteria) {
    struct FlagCase {
        std::uint64_t flags;
        const char* identifier;
        int qualifier;
        const char* expression;
        bool expected;
    };
    const FlagCase cases[] = {
        {0x1, "Read", kIs, "YES", true},       {0x1, "Read", kIs, "NO", false},
        {0x10, "Read", kIs, "NO", true},       {0x10, "Flagged", kIs, "YES", true},
        {0x10, "Flagged", kNot, "YES", false}, {0x0, "Flagged", kNot, "YES", true},
        {0x2C, "Flagged", kIs, "NO", true},    {0x11, "Flagged", kIs, "maybe", false},
    };
    for (const FlagCase& c : cases) {
        TextMessage message(kSparse, c.flags);
        EXPECT_EQ(criterion(c.identifier, c.qualifier, c.expression)->doesMessageSatisfyCriterion(&message),
                  c.expected)
            << c.identifier << " " << c.expression << " flags " << c.flags;
    }
}

// Ages count 24-hour days back from now; calendar days are local and follow clock
// changes (25 October 2026 lasts 25 hours in Berlin).
TEST_F(HostCriteriaTest, DateConditions) {
    using platform::Date;
    const Date now = Date::fromUnix(1795345200); // 2026-11-22 12:00 CET
    platform::ScopedFixedClock clock(now);
    const double day = 86400, hour = 3600;
    const Date todayStart = Date::fromUnix(1795345200 - 12 * hour); // 2026-11-22 00:00 CET
    const Date nov1 = Date::fromUnix(1793487600);                   // 2026-11-01 00:00 CET
    const Date oct25 = Date::fromUnix(1792879200);                  // 2026-10-25 00:00 CEST
    struct DateCase {
        int qualifier;
        const char* expression;
        Date date;
        bool expected;
    };
    const DateCase cases[] = {
        {kLess, "7", now.addingSeconds(-7 * day + 1), true},
        {kLess, "7", now.addingSeconds(-7 * day - 1), false},
        {kMore, "7", now.addingSeconds(-7 * day - 1), true},
        {kMore, "7", now.addingSeconds(-6 * day), false},
        {kIs, "0", todayStart, true},
        {kIs, "0", todayStart.addingSeconds(-1), false},
        {kIs, "1", todayStart.addingSeconds(-1), true},
        {kIs, "1", todayStart.addingSeconds(-day - 1), false},
        {kLess, "2026-11-01", nov1.addingSeconds(-1), true},
        {kLess, "2026-11-01", nov1, false},
        {kMore, "2026-11-01", nov1.addingSeconds(day - 1), false},
        {kMore, "2026-11-01", nov1.addingSeconds(day), true},
        {kIs, "2026-10-25", oct25.addingSeconds(24.5 * hour), true},
        {kIs, "2026-10-25", oct25.addingSeconds(25 * hour), false},
    };
    for (const DateCase& c : cases) {
        auto condition = DateCondition::read(c.qualifier, c.expression, nullptr);
        ASSERT_TRUE(condition) << c.expression;
        EXPECT_EQ(condition->holds(c.date), c.expected)
            << c.qualifier << " " << c.expression << " at " << c.date.unixSeconds();
    }
}

// Sent comes from the Date field (or the library's envelope); received only from the
// library. A message without the date satisfies no date criterion.
TEST_F(HostCriteriaTest, DateCriteriaReadTheRightDate) {
    platform::ScopedFixedClock clock(platform::Date::fromUnix(1795345200)); // 2026-11-22 12:00 CET
    testsupport::ScratchFolder folder;
    auto library = Library::open(folder.path(), true);
    ASSERT_TRUE(library.ok()) << library.error().message;
    const double received = platform::Date::fromUnix(1795345200 - 3600).seconds;
    auto stored = library.value()->addMessage("INBOX", kMessage, 0, received);
    ASSERT_TRUE(stored.ok());
    TextMessage loose(kMessage), undated(kSparse);
    auto sentThisWeek = criterion("DateSent", kLess, "7");
    auto receivedToday = criterion("DateReceived", kIs, "0");
    EXPECT_TRUE(sentThisWeek->doesMessageSatisfyCriterion(stored.value().get()));
    EXPECT_TRUE(sentThisWeek->doesMessageSatisfyCriterion(&loose));
    EXPECT_FALSE(sentThisWeek->doesMessageSatisfyCriterion(&undated));
    EXPECT_TRUE(receivedToday->doesMessageSatisfyCriterion(stored.value().get()));
    EXPECT_FALSE(receivedToday->doesMessageSatisfyCriterion(&loose));
    EXPECT_FALSE(criterion("DateSent", kMore, "7")->doesMessageSatisfyCriterion(&undated));
    EXPECT_TRUE(criterion("Mailbox", kIs, "inbox")->doesMessageSatisfyCriterion(stored.value().get()));
}

// What cannot be evaluated is refused with the reason, and evaluates to false.
TEST_F(HostCriteriaTest, InvalidCriteriaSayWhy) {
    const std::tuple<const char*, int, std::optional<std::string>, const char*> cases[] = {
        {"Nonsense", kIs, "x", "unknown criterion \"Nonsense\""},
        {"Subject", kLess, "x", "cannot be compared by \"is less than\""},
        {"Subject", kContains, std::nullopt, "needs something to compare with"},
        {"Subject", kContains, "", "needs text to look for"},
        {"Header:", kContains, "x", "names no header field"},
        {"Header:Bad Name", kContains, "x", "names no header field"},
        {"DateSent", kContains, "7", "is compared with"},
        {"DateSent", kLess, "next week", "neither a number of days nor a date"},
        {"DateReceived", kLess, "2026-02-30", "neither a number of days nor a date"},
        {"Flagged", kIs, "maybe", "\"YES\" or \"NO\""},
        {"Read", kLess, "YES", "is tested by"},
        {"Body", kNot, "x", "by \"contains\" only"},
        {"MatadorBody", kContains, "kMDItemTextContent = \"x", "does not read: this quote is never closed"},
    };
    TextMessage message(kMessage);
    for (const auto& [identifier, qualifier, expression, reason] : cases) {
        auto c = criterion(identifier, qualifier, expression);
        std::string why;
        EXPECT_FALSE(c->isValid(&why)) << identifier;
        EXPECT_NE(why.find(reason), std::string::npos) << identifier << ": " << why;
        EXPECT_FALSE(c->doesMessageSatisfyCriterion(&message)) << identifier;
    }
    // A type some bundle numbered is that bundle's to judge.
    auto foreign = criterion("Foreign", kIs, "x");
    foreign->setCriterionType(4100);
    EXPECT_TRUE(foreign->isValid(nullptr));
}

// Saved criteria come back with their types: a header criterion keeps its field, a body
// query reads as the body type, and the body search is written "Body".
TEST_F(HostCriteriaTest, DictionaryRoundTrips) {
    auto compound = MessageCriterion::create();
    compound->setCriterionType(MessageCriterion::kCompoundType);
    compound->setAllCriteriaMustBeSatisfied(false);
    compound->criteria() = {criterion("Header:X-Mailer", kBegins, "mutt"),
                            criterion("DateReceived", kLess, "7"), criterion("Flagged", kIs, "YES"),
                            criterion("MatadorBody", kContains, "true")};
    auto body = MessageRuleCriterion::create();
    body->setCriterionType(MessageCriterion::kBodyType);
    body->setExpression("invoice");
    compound->criteria().push_back(body);
    const platform::Dictionary saved = compound->dictionaryRepresentation();
    auto read = MessageCriterion::withDictionary(saved);
    EXPECT_TRUE(read->dictionaryRepresentation().isEqual(saved));
    EXPECT_FALSE(read->allCriteriaMustBeSatisfied());
    ASSERT_EQ(read->criteria().size(), 5u);
    const int types[] = {HostCriteria::kHeader, HostCriteria::kDateReceived, HostCriteria::kFlagged,
                         MessageCriterion::kBodyType, MessageCriterion::kBodyType};
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_EQ(read->criteria()[i]->criterionType(), types[i]) << i;
    EXPECT_EQ(read->criteria()[0]->criterionIdentifier(), "Header:X-Mailer");
    EXPECT_EQ(read->criteria()[4]->criterionIdentifier(), "Body");
}

} // namespace
