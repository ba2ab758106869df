#include "mailhost/mail/MessageWriter.h"

#include "mailhost/HostClasses.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/RecoveredMessage.h"
#include "platform/foundation/AtomicFile.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/Value.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace mailhost;
using platform::Dictionary;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

namespace {

const char kPayload[] = "UkVQT1JUIEJZVEVTIFRIQVQgTVVTVCBHTyBBV0FZ";

const std::string kWithAttachment = std::string("From: Ada <ada@example.org>\n"
                                                "Subject: =?UTF-8?Q?Bericht_f=C3=BCr_M=C3=A4rz?=\n"
                                                "Message-ID: <report-1@example.org>\n"
                                                "MIME-Version: 1.0\n"
                                                "Content-Type: multipart/mixed; boundary=\"b1\"\n"
                                                "\n"
                                                "--b1\n"
                                                "Content-Type: text/plain; charset=utf-8\n"
                                                "\n"
                                                "Here is the report.\n"
                                                "--b1\n"
                                                "Content-Type: application/pdf; name=report.pdf\n"
                                                "Content-Disposition: attachment; filename=report.pdf\n"
                                                "Content-Transfer-Encoding: base64\n"
                                                "\n") +
                                    kPayload + "\n--b1--\n";

const char kPlain[] = "From: Ada <ada@example.org>\nSubject: Plain\n\nNothing attached.\n";

constexpr std::uint64_t kFlags = (1ULL << 0) | (1ULL << 4) | (1ULL << 40);

class MessageWriterTest : public ::testing::Test {
protected:
    void SetUp() override {
        registerHostClasses();
        char tmpl[] = "/tmp/lumetta-writer-XXXXXX";
        root_ = mkdtemp(tmpl);
        auto opened = Library::open(root_, true);
        ASSERT_TRUE(opened.ok()) << opened.error().message;
        library_ = std::move(opened.value());
        writer_ = MessageWriter::create();
        ASSERT_TRUE(writer_);
    }
    void TearDown() override {
        writer_.reset();
        library_.reset();
        fs::remove_all(root_);
    }

    // A stored message whose file also carries keys other writers put there.
    std::shared_ptr<LibraryMessage> add(const std::string& bytes) {
        auto added = library_->addMessage("INBOX", bytes, kFlags, 817000000.0);
        EXPECT_TRUE(added.ok());
        auto file = EmlxFile::read(added.value()->path());
        Dictionary plist = file.value().plist().mutableCopy();
        plist.set("color", "FF0000");
        plist.set("remote-id", "4711");
        EXPECT_TRUE(platform::AtomicFile::write(added.value()->path(),
                                                EmlxFile::compose(file.value().messageBytes(), plist).value())
                        .ok());
        return added.value();
    }

    fs::path root_;
    std::unique_ptr<Library> library_;
    std::unique_ptr<MessageWriter> writer_;
};

// Stripping replaces the message: a new stored message without the attachment's bytes,
// with the original's subject, flags, date and foreign keys; the original is gone.
TEST_F(MessageWriterTest, RemovingAttachmentsReplacesTheMessage) {
    auto original = add(kWithAttachment);
    fs::create_directories(library_->layout().attachmentsFolder("INBOX", original->libraryID()) / "2");

    auto result = writer_->createMessageByRemovingAttachmentsFromMessage(original);
    auto* stripped = dynamic_cast<LibraryMessage*>(result.get());
    ASSERT_NE(stripped, nullptr);
    EXPECT_NE(stripped->libraryID(), original->libraryID());
    EXPECT_EQ(stripped->mailboxName(), "INBOX");
    EXPECT_EQ(stripped->subject(), "Bericht für März");
    EXPECT_EQ(stripped->flags(), kFlags);
    EXPECT_EQ(stripped->envelope().dateReceived, 817000000.0);

    auto file = EmlxFile::read(stripped->path());
    ASSERT_TRUE(file.ok() && file.value().ok());
    EXPECT_THAT(std::string(file.value().messageBytes()), Not(HasSubstr(kPayload)));
    EXPECT_THAT(std::string(file.value().messageBytes()), HasSubstr("Here is the report."));
    EXPECT_THAT(std::string(file.value().messageBytes()), HasSubstr("report.pdf"));
    EXPECT_EQ(file.value().plist().get("flags").unsignedValue(), kFlags);
    EXPECT_EQ(file.value().plist().get("color").stringValue(), "FF0000");
    EXPECT_FALSE(file.value().plist().contains("remote-id"));

    EXPECT_FALSE(fs::exists(original->path()));
    EXPECT_FALSE(fs::exists(library_->layout().attachmentsFolder("INBOX", original->libraryID())));
    EXPECT_EQ(library_->message(original->libraryID()), nullptr);
    EXPECT_EQ(library_->messagesInMailbox("INBOX").size(), 1u);
}

// Whatever keeps the attachments from being removed, the original stays as it was,
// nothing new is stored, and the log says why.
TEST_F(MessageWriterTest, FailuresLeaveTheOriginal) {
    struct Case {
        const char* name;
        std::string bytes;
        std::string damage; // replaces the whole file when set
        const char* logged;
    };
    const std::string overlong = std::to_string(kWithAttachment.size() + 50);
    const Case cases[] = {
        {"no attachments", kPlain, "", "has no attachments"},
        {"no count line", kWithAttachment, "this is not a message file\n", "Could not remove attachments"},
        {"truncated", kWithAttachment, overlong + "\n" + kWithAttachment, "Could not remove attachments"},
    };
    for (const Case& c : cases) {
        auto original = add(c.bytes);
        if (!c.damage.empty()) {
            ASSERT_TRUE(platform::AtomicFile::write(original->path(), c.damage).ok());
        }
        const std::string before = platform::AtomicFile::read(original->path()).value();
        const auto count = library_->index().messageCount();

        platform::ScopedLogCapture log;
        EXPECT_EQ(writer_->createMessageByRemovingAttachmentsFromMessage(original), nullptr) << c.name;
        EXPECT_TRUE(log.contains(c.logged)) << c.name;
        EXPECT_EQ(platform::AtomicFile::read(original->path()).value(), before) << c.name;
        EXPECT_EQ(library_->index().messageCount(), count) << c.name;
        EXPECT_NE(library_->message(original->libraryID()), nullptr) << c.name;
    }
    // Only library messages can be replaced: not a loose file, not nothing.
    auto stored = add(kWithAttachment);
    EXPECT_EQ(
        writer_->createMessageByRemovingAttachmentsFromMessage(RecoveredMessage::withPath(stored->path())),
        nullptr);
    EXPECT_EQ(writer_->createMessageByRemovingAttachmentsFromMessage(nullptr), nullptr);
    EXPECT_TRUE(fs::exists(stored->path()));
}

} // namespace
