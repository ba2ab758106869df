#include "mailhost/mail/Library.h"

#include "mailhost/HostClasses.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/RecoveredMessage.h"
#include "platform/foundation/AtomicFile.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Runtime.h"

#include <filesystem>
#include <gtest/gtest.h>

using namespace mailhost;
using platform::Dictionary;
using platform::Value;
namespace fs = std::filesystem;

namespace {

const char kMessage[] = "From: Ada Lovelace <ada@example.org>\n"
                        "To: Grace Hopper <grace@example.org>\n"
                        "Subject: =?UTF-8?Q?Caf=C3=A9_plans?=\n"
                        "Date: Tue, 17 Nov 2026 14:30:00 +0100\n"
                        "Message-ID: <cafe-1@example.org>\n"
                        "\n"
                        "See you at noon.\n";

class LibraryTest : public ::testing::Test {
protected:
    void SetUp() override {
        registerHostClasses();
        char tmpl[] = "/tmp/lumetta-library-XXXXXX";
        root_ = mkdtemp(tmpl);
        auto opened = Library::open(root_, true);
        ASSERT_TRUE(opened.ok()) << opened.error().message;
        library_ = std::move(opened.value());
    }
    void TearDown() override {
        library_.reset();
        fs::remove_all(root_);
    }

    std::shared_ptr<LibraryMessage> add(std::uint64_t flags = 0) {
        auto added = library_->addMessage("INBOX", kMessage, flags, 817000000.0);
        EXPECT_TRUE(added.ok()) << (added ? "" : added.error().message);
        return added ? added.value() : nullptr;
    }

    fs::path root_;
    std::unique_ptr<Library> library_;
};

// A new library has the standard mailboxes, as folders and in the index.
TEST_F(LibraryTest, NewLibraryHasTheStandardMailboxes) {
    std::vector<std::string> names;
    for (const auto& box : library_->mailboxes())
        names.push_back(box.name);
    EXPECT_EQ(names, (std::vector<std::string>{"Drafts", "INBOX", "Outbox", "Sent", "Trash"}));
    EXPECT_TRUE(fs::is_directory(root_ / "INBOX.mbox" / "Messages"));
    EXPECT_FALSE(Library::open(root_ / "nowhere", false).ok());
}

// Stored messages: one file each, named by row number; many objects, one identity.
TEST_F(LibraryTest, StoredMessagesAreReadBackThroughAnyObject) {
    auto first = add(1);
    ASSERT_TRUE(first);
    auto again = Library::messageWithLibraryID(nullptr, first->libraryID());
    ASSERT_TRUE(again);
    EXPECT_NE(again.get(), first.get());
    EXPECT_EQ(again->messageID(), first->messageID());
    EXPECT_EQ(again->subject(), "Café plans");
    EXPECT_EQ(again->firstHeaderForKey("message-id"), "<cafe-1@example.org>");
    EXPECT_EQ(Library::dataPathForMessage(again.get()),
              (root_ / "INBOX.mbox" / "Messages" / (first->messageID() + ".emlx")).string());
    EXPECT_EQ(Library::dataPathForMessage(again.get(), 1),
              (root_ / "INBOX.mbox" / "Messages" / (first->messageID() + ".partial.emlx")).string());
    EXPECT_EQ(Library::messageWithLibraryID(nullptr, 999999), nullptr);

    auto file = EmlxFile::read(first->path());
    ASSERT_TRUE(file.ok());
    EXPECT_EQ(file.value().messageBytes(), kMessage);
    EXPECT_EQ(file.value().plist().get("flags").intValue(), 1);
    EXPECT_EQ(file.value().plist().get("date-received").integerValue(), 1795307200);
}

// A flag change rewrites only the property list; the message bytes and every key the
// file already had stay.
TEST_F(LibraryTest, FlagWritesKeepMessageBytesAndForeignKeys) {
    auto message = add();
    ASSERT_TRUE(message);
    // A key some other client wrote, and a flag bit this client does not know.
    {
        auto file = EmlxFile::read(message->path());
        Dictionary plist = file.value().plist().mutableCopy();
        plist.set("color", "000000");
        auto rewritten = EmlxFile::compose(file.value().messageBytes(), plist);
        ASSERT_TRUE(platform::AtomicFile::write(message->path(), rewritten.value()).ok());
    }
    message->setFlags((1ULL << 4) | (1ULL << 40));
    Library::flagsChangedForMessages({message});
    Library::updateMessageFiles(nullptr);

    auto file = EmlxFile::read(message->path());
    ASSERT_TRUE(file.ok() && file.value().ok());
    EXPECT_EQ(file.value().messageBytes(), kMessage);
    EXPECT_EQ(file.value().plist().get("color").stringValue(), "000000");
    EXPECT_EQ(file.value().plist().get("flags").unsignedValue(), (1ULL << 4) | (1ULL << 40));
    EXPECT_EQ(library_->message(message->libraryID())->flags(), (1ULL << 4) | (1ULL << 40));
}

// A bundle that replaces the property-list seam decides what every write stores.
std::string (*savedPlistData)(Class*, Sel, Message*, std::string, std::string, std::string, double,
                              std::string, std::string, std::uint64_t, Dictionary) = nullptr;

std::string taggingPlistData(Class* cls, Sel sel, Message* m, std::string subject, std::string sender,
                             std::string to, double sent, std::string remote, std::string original,
                             std::uint64_t flags, Dictionary merge) {
    Dictionary withTag = merge.mutableCopy();
    withTag.set("lumettaProject", "Apollo");
    return savedPlistData(cls, sel, m, subject, sender, to, sent, remote, original, flags, withTag);
}

TEST_F(LibraryTest, WritesGoThroughTheReplaceableSeams) {
    Class* cls = platform::runtime::Runtime::classNamed("Library");
    ASSERT_NE(cls, nullptr);
    cls->addClassMethod("testTaggingPlistData:", &taggingPlistData);
    const auto selector =
        "plistDataForMessage:subject:sender:to:dateSent:remoteID:originalMailbox:flags:mergeWithDictionary:";
    savedPlistData =
        reinterpret_cast<decltype(savedPlistData)>(platform::runtime::Runtime::replaceClassMethod(
            selector, "Library", "testTaggingPlistData:", "Library"));
    ASSERT_NE(savedPlistData, nullptr);

    auto message = add();
    Library::flagsChangedForMessages({message});
    Library::updateMessageFiles(nullptr);
    // Put the host's implementation back for the other tests.
    platform::runtime::Runtime::replaceClassMethod(selector, "Library", selector, "Library");
    cls->classMethod(selector)->exchange(reinterpret_cast<void (*)()>(savedPlistData));

    auto file = EmlxFile::read(message->path());
    ASSERT_TRUE(file.ok());
    EXPECT_EQ(file.value().plist().get("lumettaProject").stringValue(), "Apollo");
    EXPECT_EQ(file.value().messageBytes(), kMessage);
}

// A loose message file, outside the index.
TEST_F(LibraryTest, RecoveredMessagesReadALooseFile) {
    auto stored = add(1);
    const fs::path loose = root_ / "loose.emlx";
    fs::copy_file(stored->path(), loose);
    auto recovered = RecoveredMessage::withPath(loose);
    ASSERT_TRUE(recovered);
    EXPECT_EQ(recovered->subject(), "Café plans");
    EXPECT_EQ(recovered->flags(), 1u);
    EXPECT_TRUE(recovered->isKindOfClass("Message"));
    EXPECT_FALSE(recovered->isKindOfClass("LibraryMessage"));
    EXPECT_EQ(Library::dataPathForMessage(recovered.get()), "");
}

} // namespace
