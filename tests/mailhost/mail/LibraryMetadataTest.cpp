#include "mailhost/HostClasses.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/LibraryAdoption.h"
#include "mailhost/mail/LibraryStore.h"
#include "mailhost/mail/Matador.h"
#include "mailhost/mail/MessageMetadata.h"
#include "mailhost/mail/MessageWriter.h"
#include "platform/foundation/Value.h"
#include "support/MessageFileSupport.h"

#include <filesystem>
#include <gtest/gtest.h>

using namespace mailhost;
using platform::Array;
using platform::Dictionary;
using platform::Value;
namespace fs = std::filesystem;

namespace {

const char kMessage[] = "From: =?UTF-8?Q?J=C3=BCrgen_M=C3=BCller?= <jm@example.org>\n"
                        "To: Ada Lovelace <ada@example.org>, grace@example.org\n"
                        "Cc: Team: tom@example.org, Zoe <zoe@example.org>;\n"
                        "Subject: Invoice 114\n"
                        "Date: Tue, 17 Nov 2026 14:30:00 +0100\n"
                        "Message-ID: <inv-114@example.org>\n"
                        "MIME-Version: 1.0\n"
                        "Content-Type: multipart/mixed; boundary=\"b\"\n"
                        "\n"
                        "--b\nContent-Type: text/plain; charset=utf-8\n\nPlease pay the invoice.\n"
                        "--b\nContent-Type: application/pdf; name=i.pdf\nContent-Disposition: attachment\n"
                        "Content-Transfer-Encoding: base64\n\nUkVQT1JU\n--b--\n";

class LibraryMetadataTest : public ::testing::Test {
protected:
    void SetUp() override {
        registerHostClasses();
        auto opened = Library::open(folder_.path(), true);
        ASSERT_TRUE(opened.ok()) << opened.error().message;
        library_ = std::move(opened.value());
    }

    std::shared_ptr<LibraryMessage> add() {
        auto added = library_->addMessage("INBOX", kMessage, 0, 817000000.0);
        EXPECT_TRUE(added.ok());
        return added ? added.value() : nullptr;
    }
    Dictionary attributesOf(const fs::path& path) { return library_->metadata()->attributes(path.string()); }
    bool indexed(const fs::path& path) { return library_->metadata()->hasItem(path.string()); }

    testsupport::ScratchFolder folder_;
    std::unique_ptr<Library> library_;
};

// A stored message is findable by who wrote it, to whom, when, where and what it says.
TEST_F(LibraryMetadataTest, StoringAMessageIndexesTheClientsAttributes) {
    auto message = add();
    const Dictionary a = attributesOf(message->path());
    EXPECT_EQ(a.get(MessageMetadata::kSubject), Value("Invoice 114"));
    EXPECT_EQ(a.get(MessageMetadata::kAuthors), Value(Array{"J\u00FCrgen M\u00FCller"}));
    EXPECT_EQ(a.get(MessageMetadata::kAuthorAddresses), Value(Array{"jm@example.org"}));
    // A person without a name shows by address; a group's members count one by one.
    EXPECT_EQ(a.get(MessageMetadata::kRecipients),
              Value(Array{"Ada Lovelace", "grace@example.org", "tom@example.org", "Zoe"}));
    EXPECT_EQ(a.get(MessageMetadata::kMailboxes), Value(Array{"INBOX"}));
    ASSERT_TRUE(a.get(MessageMetadata::kDateSent).isDate());
    EXPECT_EQ(a.get(MessageMetadata::kDateSent).date()->unixSeconds(), 1794922200.0);
    // Only the readable text: the attachment's bytes are not words of the message.
    EXPECT_EQ(a.get(MessageMetadata::kTextContent), Value("Please pay the invoice."));
}

// Attributes others wrote stay when the client indexes the file again; the client's
// own are replaced, and one the message no longer has goes.
TEST_F(LibraryMetadataTest, OthersAttributesSurviveReindexing) {
    auto message = add();
    const std::string path = message->path().string();
    ASSERT_TRUE(Matador::sharedInstance().setAttributeForFileAtPath(path, "kMDItemKeywords", Array{"Work"}));
    ASSERT_TRUE(library_->metadata()->setAttribute(path, MessageMetadata::kSubject, "stale").ok());
    ASSERT_TRUE(library_->metadata()->setAttribute(path, MessageMetadata::kAuthorAddresses, Array{"x"}).ok());

    library_->indexer().indexMessageFile(path, "Subject: Changed\n\nhi\n", "INBOX", 817000000.0);
    const Dictionary a = attributesOf(path);
    EXPECT_EQ(a.get("kMDItemKeywords"), Value(Array{"Work"}));
    EXPECT_EQ(a.get(MessageMetadata::kSubject), Value("Changed"));
    EXPECT_TRUE(a.get(MessageMetadata::kAuthorAddresses).isNull());
}

// Every way a file comes or goes keeps the index in step: a rebuild after files were
// removed by hand, a message replaced by its copy without attachments.
TEST_F(LibraryMetadataTest, FilesThatGoLeaveTheIndex) {
    auto kept = add();
    auto removed = add();
    auto stripped = add();
    fs::remove(removed->path());
    auto store = LibraryStore::forMailbox(*library_, "INBOX");
    ASSERT_TRUE(store->rebuildTableOfContents().ok());
    EXPECT_TRUE(indexed(kept->path()));
    EXPECT_FALSE(indexed(removed->path()));

    auto replacement = MessageWriter::create()->createMessageByRemovingAttachmentsFromMessage(stripped);
    auto* stored = dynamic_cast<LibraryMessage*>(replacement.get());
    ASSERT_NE(stored, nullptr);
    EXPECT_FALSE(indexed(stripped->path()));
    EXPECT_EQ(attributesOf(stored->path()).get(MessageMetadata::kSubject), Value("Invoice 114"));
    EXPECT_EQ(library_->metadata()->itemCount(), 2u);
}

// An import that is abandoned takes its index entries with it, as it does its envelopes.
TEST_F(LibraryMetadataTest, AnAbandonedImportLeavesNoEntries) {
    {
        Library::BulkAdd batch(*library_);
        add();
        add();
    }
    EXPECT_EQ(library_->metadata()->itemCount(), 0u);
    {
        Library::BulkAdd batch(*library_);
        add();
        ASSERT_TRUE(batch.commit().ok());
    }
    EXPECT_EQ(library_->metadata()->itemCount(), 1u);
}

// Mail adopted from the original client is searchable without rewriting its files.
TEST_F(LibraryMetadataTest, AdoptedMailIsIndexed) {
    const fs::path mailbox = testsupport::realMessagesFolder() / "layout-example";
    auto report = LibraryAdoption::adoptMailbox(*library_, mailbox, "Adopted");
    ASSERT_TRUE(report.ok()) << report.error().message;
    ASSERT_EQ(report.value().messages, 1u);
    auto messages = library_->messagesInMailbox("Adopted");
    ASSERT_EQ(messages.size(), 1u);
    const Dictionary a = attributesOf(static_cast<LibraryMessage&>(*messages.front()).path());
    EXPECT_EQ(a.get(MessageMetadata::kMailboxes), Value(Array{"Adopted"}));
    EXPECT_FALSE(a.get(MessageMetadata::kAuthors).isNull());
}

// A library whose metadata index cannot be opened still stores and reads mail.
TEST(LibraryWithoutMetadata, StillStoresMail) {
    registerHostClasses();
    testsupport::ScratchFolder folder;
    fs::create_directories(folder.path() / platform::spotlight::MetadataStore::kFileName); // not a database
    auto library = Library::open(folder.path(), true);
    ASSERT_TRUE(library.ok()) << library.error().message;
    EXPECT_EQ(library.value()->metadata(), nullptr);
    auto added = library.value()->addMessage("INBOX", kMessage, 0, 817000000.0);
    ASSERT_TRUE(added.ok());
    EXPECT_FALSE(Matador::sharedInstance().setAttributeForFileAtPath(added.value()->path().string(),
                                                                     "kMDItemKeywords", Array{"Work"}));
    EXPECT_EQ(library.value()->messagesInMailbox("INBOX").size(), 1u);
}

} // namespace
