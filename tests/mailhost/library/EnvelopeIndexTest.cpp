#include "mailhost/library/EnvelopeIndex.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace mailhost;
namespace fs = std::filesystem;

namespace {

class EnvelopeIndexTest : public ::testing::Test {
protected:
    void SetUp() override {
        char tmpl[] = "/tmp/lumetta-index-XXXXXX";
        dir_ = mkdtemp(tmpl);
        auto opened = EnvelopeIndex::open(dir_ / "Envelope Index");
        ASSERT_TRUE(opened.ok()) << opened.error().message;
        index_ = std::move(opened.value());
    }
    void TearDown() override {
        index_.reset();
        fs::remove_all(dir_);
    }

    fs::path dir_;
    std::unique_ptr<EnvelopeIndex> index_;
};

// Row numbers are the files' names: adoption keeps them, new mail gets the next.
TEST_F(EnvelopeIndexTest, KeepsGivenRowNumbersAndAllocatesAfterThem) {
    auto inbox = index_->addMailbox("INBOX");
    ASSERT_TRUE(inbox.ok());
    Envelope adopted;
    adopted.rowid = 114862;
    adopted.mailbox = inbox.value().id;
    adopted.subject = "Lorem ipsum";
    adopted.flags = 8623750272ULL | (1ULL << 63); // bits the client does not own are kept
    ASSERT_EQ(index_->insert(adopted).valueOr(0), 114862);
    Envelope fresh;
    fresh.mailbox = inbox.value().id;
    EXPECT_EQ(index_->insert(fresh).valueOr(0), 114863);
    EXPECT_FALSE(index_->insert(adopted).ok()); // a row number is never reused silently

    auto read = index_->message(114862);
    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(read->flags, adopted.flags);
    EXPECT_EQ(read->subject, "Lorem ipsum");
    EXPECT_FALSE(index_->message(1).has_value());
}

TEST_F(EnvelopeIndexTest, MailboxesAreUniqueByNameAndListSorted) {
    auto a = index_->addMailbox("Projects/Apollo", true);
    auto again = index_->addMailbox("Projects/Apollo");
    ASSERT_TRUE(a.ok() && again.ok());
    EXPECT_EQ(a.value().id, again.value().id);
    EXPECT_TRUE(again.value().sharded);
    (void)index_->addMailbox("INBOX");
    const auto all = index_->mailboxes();
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all[0].name, "INBOX");
    EXPECT_EQ(index_->mailboxNamed("Projects/Apollo")->id, a.value().id);
    EXPECT_FALSE(index_->mailboxNamed("Nowhere").has_value());
}

// A failed batch leaves nothing behind.
TEST_F(EnvelopeIndexTest, TransactionsRollBackAsAWhole) {
    auto inbox = index_->addMailbox("INBOX");
    ASSERT_TRUE(inbox.ok());
    auto r = index_->transaction([&]() -> platform::Result<void> {
        Envelope e;
        e.mailbox = inbox.value().id;
        if (auto inserted = index_->insert(e); !inserted)
            return inserted.error();
        Envelope orphan;
        orphan.mailbox = 999; // no such mailbox
        if (auto inserted = index_->insert(orphan); !inserted)
            return inserted.error();
        return {};
    });
    EXPECT_FALSE(r.ok());
    EXPECT_EQ(index_->messageCount(), 0u);
}

// The command line and the desktop client share one index.
TEST_F(EnvelopeIndexTest, TwoProcessesWriteTheSameIndex) {
    auto inbox = index_->addMailbox("INBOX");
    ASSERT_TRUE(inbox.ok());
    const auto mailboxId = inbox.value().id;
    const pid_t pid = fork();
    if (pid == 0) {
        auto other = EnvelopeIndex::open(dir_ / "Envelope Index");
        if (!other)
            _exit(1);
        for (int i = 0; i < 200; ++i) {
            Envelope e;
            e.mailbox = mailboxId;
            if (!other.value()->insert(e))
                _exit(2);
        }
        _exit(0);
    }
    for (int i = 0; i < 200; ++i) {
        Envelope e;
        e.mailbox = mailboxId;
        ASSERT_TRUE(index_->insert(e).ok());
    }
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(index_->messagesInMailbox(mailboxId).size(), 400u);
}

} // namespace
