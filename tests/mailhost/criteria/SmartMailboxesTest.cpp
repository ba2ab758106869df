#include "mailhost/criteria/SmartMailboxes.h"

#include "CriteriaTestSupport.h"
#include "mailhost/HostClasses.h"
#include "mailhost/criteria/CriterionSyntax.h"
#include "mailhost/criteria/HostCriteria.h"
#include "mailhost/criteria/SmartMailboxQuery.h"
#include "mailhost/mail/Library.h"
#include "platform/foundation/Array.h"
#include "platform/foundation/AtomicFile.h"
#include "support/ChildProcesses.h"
#include "support/MessageFileSupport.h"

#include <gtest/gtest.h>

using namespace mailhost;
using criteriatest::criterion;
namespace fs = std::filesystem;

namespace {

std::shared_ptr<MessageCriterion> compoundOf(bool all, std::vector<std::shared_ptr<MessageCriterion>> parts) {
    auto c = MessageCriterion::create();
    c->setCriterionType(MessageCriterion::kCompoundType);
    c->setCriterionIdentifier(MessageCriterion::kCompoundIdentifier);
    c->setAllCriteriaMustBeSatisfied(all);
    c->criteria() = std::move(parts);
    return c;
}

// Stands in for a bundle that answers its "TestKeyword" criteria from the index: it
// merges them into one query held by the last of them and removes the others, as tag
// criteria are merged; a lone one becomes a query criterion itself.
std::shared_ptr<MessageCriterion> keywordsAsQueries(Class* cls, Sel sel,
                                                    std::shared_ptr<MessageCriterion> c) {
    auto fixed = CriterionFixing::hostFixCriterion(cls, sel, std::move(c));
    auto query = [](const MessageCriterion& k) {
        return "kMDItemKeywords == \"" + *k.expression() + "\"cd";
    };
    if (fixed->criterionIdentifier() == "TestKeyword") {
        auto copy = MessageRuleCriterion::withDictionary(fixed->dictionaryRepresentation());
        copy->setCriterionType(MessageCriterion::kBodyType);
        copy->setCriterionIdentifier(MessageCriterion::kMetadataQueryIdentifier);
        copy->setExpression(query(*fixed));
        return copy;
    }
    auto& parts = fixed->criteria();
    std::shared_ptr<MessageCriterion> holder;
    for (auto i = parts.size(); i-- > 0;) {
        if (parts[i]->criterionIdentifier() != "TestKeyword")
            continue;
        if (!holder) {
            holder = parts[i];
            holder->setExpression(query(*holder));
            holder->setCriterionIdentifier(MessageCriterion::kMetadataQueryIdentifier);
            continue;
        }
        holder->setExpression(*holder->expression() +
                              (fixed->allCriteriaMustBeSatisfied() ? " && " : " || ") + query(*parts[i]));
        parts.erase(parts.begin() + static_cast<std::ptrdiff_t>(i));
    }
    return fixed;
}

class SmartMailboxesTest : public ::testing::Test {
protected:
    void SetUp() override {
        registerHostClasses();
        auto opened = Library::open(folder_.path(), true);
        ASSERT_TRUE(opened.ok()) << opened.error().message;
        library_ = std::move(opened.value());
        ASSERT_TRUE(library_->createMailbox("Archive").ok());
        // 1 and 3 are from Alice; 1 and 4 mention an invoice.
        add("INBOX", "alice@example.org", "Invoice 1", "Please pay the invoice.");
        add("INBOX", "bob@example.org", "Lunch", "Pasta at noon?");
        add("Archive", "alice@example.org", "Holiday", "Photos attached.");
        add("Archive", "carl@example.org", "Invoice 2", "The invoice is overdue.");
    }

    void add(const std::string& mailbox, const std::string& from, const std::string& subject,
             const std::string& text) {
        const std::string bytes = "From: " + from + "\nSubject: " + subject + "\n\n" + text + "\n";
        auto added = library_->addMessage(mailbox, bytes, 0, 800000000.0 + static_cast<double>(ids_.size()));
        ASSERT_TRUE(added.ok());
        ids_.push_back(added.value()->libraryID());
        paths_.push_back(added.value()->path().string());
    }
    void tag(std::size_t n, platform::Value keywords) {
        ASSERT_TRUE(library_->metadata()->setAttribute(paths_.at(n - 1), "kMDItemKeywords", keywords).ok());
    }
    // Message numbers 1 to 4 of what the smart mailbox lists, in its order.
    std::vector<std::size_t> listed(const SmartMailboxQuery& query, const std::string& mailbox = "") {
        auto messages = query.messages(*library_, mailbox);
        EXPECT_TRUE(messages.ok()) << messages.error().message;
        std::vector<std::size_t> out;
        for (const auto& m : messages.valueOr({})) {
            const auto id = static_cast<LibraryMessage&>(*m).libraryID();
            out.push_back(static_cast<std::size_t>(std::find(ids_.begin(), ids_.end(), id) - ids_.begin()) +
                          1);
        }
        return out;
    }

    testsupport::ScratchFolder folder_;
    std::unique_ptr<Library> library_;
    std::vector<std::int64_t> ids_;
    std::vector<std::string> paths_;
};

using List = std::vector<std::size_t>;

// The body search is answered by the index, the sender in memory, and the two combine
// by the compound's rule; listings run in `ls` order (mailboxes by name).
TEST_F(SmartMailboxesTest, IndexAndMemoryPartsCombine) {
    auto body = criterion("Body", 0, "invoice");
    auto alice = criterion("From", 0, "alice");
    EXPECT_EQ(listed(SmartMailboxQuery(compoundOf(true, {body, alice}))), (List{1}));
    EXPECT_EQ(listed(SmartMailboxQuery(compoundOf(false, {body, alice}))), (List{3, 4, 1}));
    EXPECT_EQ(listed(SmartMailboxQuery(compoundOf(false, {body, alice})), "INBOX"), (List{1}));
    EXPECT_EQ(listed(SmartMailboxQuery(compoundOf(true, {}))), (List{3, 4, 1, 2}));
    EXPECT_EQ(listed(SmartMailboxQuery(compoundOf(false, {}))), (List{}));
    EXPECT_EQ(listed(SmartMailboxQuery(body)), (List{4, 1}));
    EXPECT_EQ(listed(SmartMailboxQuery(body), "INBOX"), (List{1}));
}

// A bundle's translation merges its criteria into one query part and removes the rest;
// the listing follows index changes with no refresh, and the stored criterion stays.
TEST_F(SmartMailboxesTest, BundleQueriesFollowTheIndex) {
    criteriatest::ScopedFixCriterion bundle(&keywordsAsQueries);
    tag(1, platform::Array{"Work"});
    tag(3, platform::Array{"Work", "Home"});
    tag(2, platform::Array{"Home"});
    auto stored = compoundOf(true, {criterion("TestKeyword", 3, "Work"), criterion("From", 0, "alice")});
    const platform::Dictionary before = stored->dictionaryRepresentation();
    const SmartMailboxQuery workFromAlice(stored);
    EXPECT_EQ(listed(workFromAlice), (List{3, 1}));
    tag(3, nullptr);
    EXPECT_EQ(listed(workFromAlice), (List{1}));
    EXPECT_TRUE(stored->dictionaryRepresentation().isEqual(before));

    const SmartMailboxQuery merged(
        compoundOf(false, {criterion("TestKeyword", 3, "Work"), criterion("TestKeyword", 3, "Home"),
                           criterion("Subject", 0, "2")}));
    ASSERT_EQ(merged.parts().size(), 2u);
    EXPECT_EQ(merged.parts()[0]->expression(),
              std::optional<std::string>(R"(kMDItemKeywords == "Home"cd || kMDItemKeywords == "Work"cd)"));
    EXPECT_EQ(listed(merged), (List{4, 1, 2}));
    EXPECT_EQ(listed(SmartMailboxQuery(criterion("TestKeyword", 3, "Home"))), (List{2}));
}

// A query that does not read, or a part no one can evaluate, is an error with the
// reason, never an empty mailbox.
TEST_F(SmartMailboxesTest, BrokenCriteriaAreErrors) {
    criteriatest::ScopedFixCriterion bundle(&keywordsAsQueries);
    auto quoted =
        SmartMailboxQuery(compoundOf(true, {criterion("TestKeyword", 3, "Wo\"rk")})).messages(*library_);
    ASSERT_FALSE(quoted.ok());
    EXPECT_NE(quoted.error().message.find("does not read"), std::string::npos) << quoted.error().message;
    EXPECT_NE(quoted.error().message.find("^"), std::string::npos) << quoted.error().message;
    auto unknown =
        SmartMailboxQuery(compoundOf(false, {criterion("From", 0, "a"), criterion("Lumetta X", 3, "y")}))
            .messages(*library_);
    ASSERT_FALSE(unknown.ok());
    EXPECT_NE(unknown.error().message.find("unknown criterion \"Lumetta X\""), std::string::npos);
}

// Saved mailboxes come back as they were stored, in name order, as an XML property list.
TEST_F(SmartMailboxesTest, StorageRoundTrips) {
    auto store = SmartMailboxes::load(folder_.path());
    ASSERT_TRUE(store.ok());
    EXPECT_TRUE(store.value().names().empty());
    auto work = compoundOf(true, {criterion("Header:X-Mailer", 1, "mutt"), criterion("Read", 3, "NO")});
    store.value().set("Work", *work);
    store.value().set("Bills", *compoundOf(false, {criterion("Body", 0, "invoice")}));
    ASSERT_TRUE(store.value().save().ok());
    EXPECT_TRUE(store.value().remove("Bills"));
    EXPECT_FALSE(store.value().remove("Bills"));

    auto again = SmartMailboxes::load(folder_.path());
    ASSERT_TRUE(again.ok());
    EXPECT_EQ(again.value().names(), (std::vector<std::string>{"Bills", "Work"}));
    auto read = again.value().criterion("Work");
    ASSERT_TRUE(read);
    EXPECT_TRUE(read->dictionaryRepresentation().isEqual(work->dictionaryRepresentation()));
    EXPECT_EQ(read->criteria()[0]->criterionType(), HostCriteria::kHeader);
    auto bytes = platform::AtomicFile::read(folder_.path() / SmartMailboxes::kFileName);
    ASSERT_TRUE(bytes.ok());
    EXPECT_TRUE(bytes.value().starts_with("<?xml")) << bytes.value();
    EXPECT_NE(bytes.value().find("<key>CriterionIdentifier</key>\n\t\t<string>Compound</string>"),
              std::string::npos);
}

// A damaged file is reported and left alone; an entry that is not a criterion is
// skipped when read and kept when saved.
TEST_F(SmartMailboxesTest, DamagedFilesAreReportedNotReplaced) {
    const fs::path file = folder_.path() / SmartMailboxes::kFileName;
    for (const std::string& damaged : {std::string("<?xml version=\"1.0\"?><plist><dict><key>A</key>"),
                                       std::string("<plist version=\"1.0\"><array/></plist>")}) {
        testsupport::writeBytes(file, damaged);
        auto store = SmartMailboxes::load(folder_.path());
        ASSERT_FALSE(store.ok());
        EXPECT_NE(store.error().message.find("is damaged"), std::string::npos) << store.error().message;
        EXPECT_EQ(platform::AtomicFile::read(file).value(), damaged);
    }
    testsupport::writeBytes(file,
                            "<plist version=\"1.0\"><dict><key>Odd</key><string>x</string></dict></plist>");
    auto store = SmartMailboxes::load(folder_.path());
    ASSERT_TRUE(store.ok());
    EXPECT_EQ(store.value().criterion("Odd"), nullptr);
    store.value().set("New", *compoundOf(true, {criterion("Flagged", 3, "YES")}));
    ASSERT_TRUE(store.value().save().ok());
    EXPECT_EQ(SmartMailboxes::load(folder_.path()).value().names(), (std::vector<std::string>{"New", "Odd"}));
}

// Programs that change the mailboxes at the same moment all keep their changes: each
// edit reads under the lock and writes before letting it go.
TEST_F(SmartMailboxesTest, SimultaneousEditsAllLand) {
    constexpr int kPrograms = 4, kEdits = 8;
    const auto work = compoundOf(true, {criterion("Flagged", 3, "YES")});
    EXPECT_TRUE(testsupport::runInChildProcesses(kPrograms, [&](int p) {
        for (int e = 0; e < kEdits; ++e) {
            auto store = SmartMailboxes::edit(folder_.path());
            if (!store)
                return 1;
            store.value().set("M" + std::to_string(p) + "-" + std::to_string(e), *work);
            if (!store.value().save())
                return 2;
        }
        return 0;
    }));
    EXPECT_EQ(SmartMailboxes::load(folder_.path()).value().names().size(), std::size_t{kPrograms * kEdits});
}

} // namespace
