#include "mailhost/mail/MessageStore.h"

#include "mailhost/HostClasses.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/MailAccount.h"
#include "mailhost/mail/MessageSorting.h"
#include "mailhost/mail/OutgoingMessage.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Runtime.h"

#include <filesystem>
#include <gtest/gtest.h>

using namespace mailhost;
namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t kRead = 1ULL << 0, kDeleted = 1ULL << 1, kAnswered = 1ULL << 2, kFlagged = 1ULL << 4,
                        kDraft = 1ULL << 6;
// A bit this client has no name for, which every write must keep.
constexpr std::uint64_t kForeign = 1ULL << 40;

std::string messageText(int n) {
    return "From: Ada <ada@example.org>\nSubject: Note " + std::to_string(n) + "\nMessage-ID: <note-" +
           std::to_string(n) + "@example.org>\n\nText " + std::to_string(n) + ".\n";
}

// Installs a test implementation over a host instance method as a bundle does, and
// puts the previous one back when the test ends, whatever happened in between.
template <class Imp> class ReplacedMethod {
public:
    ReplacedMethod(const char* className, const char* selector, const char* testSelector, Imp imp, Imp& saved)
        : className_(className), selector_(selector) {
        platform::runtime::Runtime::classNamed(className)->addInstanceMethod(testSelector, imp);
        saved_ =
            platform::runtime::Runtime::replaceInstanceMethod(selector, className, testSelector, className);
        saved = reinterpret_cast<Imp>(saved_);
    }
    ~ReplacedMethod() {
        if (saved_)
            platform::runtime::Runtime::classNamed(className_)->instanceMethod(selector_)->exchange(saved_);
    }
    bool installed() const { return saved_ != nullptr; }

private:
    const char* className_;
    const char* selector_;
    void (*saved_)() = nullptr;
};

class MessageStoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        registerHostClasses();
        char tmpl[] = "/tmp/lumetta-message-store-XXXXXX";
        root_ = mkdtemp(tmpl);
        auto opened = Library::open(root_, true);
        ASSERT_TRUE(opened.ok()) << opened.error().message;
        library_ = std::move(opened.value());
        ASSERT_TRUE(library_->createMailbox("Projects/Apollo").ok());
        inbox_ = MailAccount::local(*library_).storeForMailboxUid("INBOX");
        ASSERT_TRUE(inbox_);
    }
    void TearDown() override {
        inbox_.reset();
        library_.reset();
        fs::remove_all(root_);
    }

    std::shared_ptr<Message> add(int n, std::uint64_t flags = 0, const std::string& mailbox = "INBOX") {
        auto added = library_->addMessage(mailbox, messageText(n), flags, 800000000.0 + n);
        EXPECT_TRUE(added.ok()) << (added ? "" : added.error().message);
        return added ? added.value() : nullptr;
    }

    // The flag word as each place that keeps it says: the file's property list and
    // the index. The test fails when they disagree.
    std::uint64_t storedFlags(const Message& message) {
        const auto& stored = static_cast<const LibraryMessage&>(message);
        auto file = EmlxFile::read(stored.path());
        EXPECT_TRUE(file.ok() && file.value().ok()) << stored.path();
        const std::uint64_t inFile = file ? file.value().plist().get("flags").unsignedValue() : 0;
        auto envelope = library_->index().message(stored.libraryID());
        EXPECT_TRUE(envelope);
        EXPECT_EQ(envelope ? envelope->flags : 0, inFile) << "index and file disagree";
        return inFile;
    }

    fs::path root_;
    std::unique_ptr<Library> library_;
    std::unique_ptr<MessageStore> inbox_;
};

// Each flag name sets and clears its own bit, in the object, the index and the file,
// and leaves every other bit as it was.
TEST_F(MessageStoreTest, FlagNamesSetAndClearTheirBits) {
    const std::pair<const char*, std::uint64_t> names[] = {
        {"MessageIsRead", kRead},       {"MessageIsDeleted", kDeleted}, {"MessageIsAnswered", kAnswered},
        {"MessageIsFlagged", kFlagged}, {"MessageIsDraft", kDraft},
    };
    int n = 0;
    for (const auto& [name, bit] : names) {
        const std::uint64_t others = kForeign | (bit == kRead ? kFlagged : kRead);
        auto message = add(++n, others);
        inbox_->setFlag(name, true, {message});
        EXPECT_EQ(message->flags(), others | bit) << name;
        EXPECT_EQ(storedFlags(*message), others | bit) << name;

        inbox_->setFlag(name, false, {message});
        EXPECT_EQ(storedFlags(*message), others) << name;
        EXPECT_EQ(library_->message(static_cast<LibraryMessage&>(*message).libraryID())->flags(), others)
            << name;
    }
}

// The bit goes into the word the library holds, so an object made before another
// object changed the message does not put the other change back.
TEST_F(MessageStoreTest, StaleObjectsKeepOtherChanges) {
    auto message = add(1);
    auto older = library_->message(static_cast<LibraryMessage&>(*message).libraryID());
    inbox_->setFlag("MessageIsFlagged", true, {message});
    inbox_->setFlag("MessageIsRead", true, {older});
    EXPECT_EQ(storedFlags(*message), kRead | kFlagged);
    EXPECT_EQ(older->flags(), kRead | kFlagged);
}

// A store changes only the messages of its own mailbox; messages of other mailboxes
// and messages outside the library pass through untouched.
TEST_F(MessageStoreTest, OnlyTheStoresMailboxIsTouched) {
    auto mine = add(1);
    auto apollo = add(2, kDraft, "Projects/Apollo");
    std::shared_ptr<Message> outgoing = OutgoingMessage::withBytes(messageText(3));
    inbox_->setFlag("MessageIsRead", true, {apollo, mine, outgoing, nullptr});
    EXPECT_EQ(storedFlags(*mine), kRead);
    EXPECT_EQ(storedFlags(*apollo), kDraft);
    EXPECT_EQ(apollo->flags(), kDraft);
    EXPECT_EQ(outgoing->flags(), 0u);

    auto apolloStore = MailAccount::local(*library_).storeForMailboxUid("Projects/Apollo");
    ASSERT_TRUE(apolloStore);
    apolloStore->setFlag("MessageIsRead", true, {apollo, mine});
    EXPECT_EQ(storedFlags(*apollo), kDraft | kRead);
}

// A flag name the client does not know changes nothing and says so in the log.
TEST_F(MessageStoreTest, UnknownFlagNamesAreLoggedAndIgnored) {
    auto message = add(1, kRead);
    const std::string before = EmlxFile::read(static_cast<LibraryMessage&>(*message).path()).value().bytes();
    platform::ScopedLogCapture log;
    for (const char* name : {"MessageIsJunk", "messageisread", ""}) {
        inbox_->setFlag(name, false, {message});
        EXPECT_TRUE(log.contains("\"" + std::string(name) + "\"")) << name;
    }
    EXPECT_EQ(message->flags(), kRead);
    EXPECT_EQ(EmlxFile::read(static_cast<LibraryMessage&>(*message).path()).value().bytes(), before);
}

// Stores come from the library's one account, by mailbox name.
TEST_F(MessageStoreTest, StoresComeFromTheLocalAccount) {
    MailAccount& account = MailAccount::local(*library_);
    EXPECT_EQ(&MailAccount::local(*library_), &account);
    EXPECT_EQ(&account.library(), library_.get());
    EXPECT_EQ(&inbox_->account(), &account);
    EXPECT_EQ(inbox_->mailbox(), "INBOX");
    EXPECT_EQ(account.storeForMailboxUid("Nowhere"), nullptr);
    EXPECT_EQ(MailAccount::forMailbox("Projects/Apollo"), &account);
    EXPECT_EQ(MailAccount::forMailbox("Nowhere"), nullptr);
}

// A bundle that replaces `setFlag:state:forMessages:` sees every call, and the host's
// implementation it hands on to still saves the change.
struct SetFlagCall {
    std::string name;
    bool state = false;
    std::size_t messages = 0;
};
std::vector<SetFlagCall> setFlagCalls;
void (*savedSetFlag)(Object*, Sel, std::string, bool, MessageList) = nullptr;

void recordSetFlag(Object* self, Sel sel, std::string name, bool state, MessageList messages) {
    setFlagCalls.push_back({name, state, messages.size()});
    savedSetFlag(self, sel, std::move(name), state, std::move(messages));
}

TEST_F(MessageStoreTest, ReplacedSetFlagSeesTheCall) {
    setFlagCalls.clear();
    auto message = add(1, kRead | kFlagged);
    {
        ReplacedMethod replaced(MessageStore::kClassName, "setFlag:state:forMessages:",
                                "testRecordSetFlag:state:forMessages:", &recordSetFlag, savedSetFlag);
        ASSERT_TRUE(replaced.installed());
        inbox_->setFlag("MessageIsFlagged", false, {message, message});
    }
    ASSERT_EQ(setFlagCalls.size(), 1u);
    EXPECT_EQ(setFlagCalls[0].name, "MessageIsFlagged");
    EXPECT_FALSE(setFlagCalls[0].state);
    EXPECT_EQ(setFlagCalls[0].messages, 2u);
    EXPECT_EQ(storedFlags(*message), kRead);
    // Put back: later calls no longer pass through the test's method.
    inbox_->setFlag("MessageIsRead", false, {message});
    EXPECT_EQ(setFlagCalls.size(), 1u);
    EXPECT_EQ(storedFlags(*message), 0u);
}

// Grouping by mailbox: one group per mailbox, each in the order given; messages
// outside the library belong to none.
TEST_F(MessageStoreTest, MessagesSortedByMailboxKeepTheirOrder) {
    auto a = add(1), b = add(2), c = add(3);
    auto apollo = add(4, 0, "Projects/Apollo");
    std::shared_ptr<Message> outgoing = OutgoingMessage::withBytes(messageText(5));
    auto again = library_->message(static_cast<LibraryMessage&>(*a).libraryID());

    const auto groups = dictionaryWithMessagesSortedByMailbox({c, apollo, outgoing, a, again, b});
    ASSERT_EQ(groups.size(), 2u);
    EXPECT_EQ(groups.at("INBOX"), (MessageList{c, a, again, b}));
    EXPECT_EQ(groups.at("Projects/Apollo"), (MessageList{apollo}));
    EXPECT_TRUE(dictionaryWithMessagesSortedByMailbox({outgoing}).empty());
}

// An outgoing message reads its headers from the bytes it holds, kept exactly as given.
TEST(OutgoingMessageTest, HeadersAreReadFromTheBytesInMemory) {
    registerHostClasses();
    const std::string bytes = "From: Grace Hopper <grace@example.org>\r\n"
                              "To: Ada <ada@example.org>\r\n"
                              "Subject: =?UTF-8?Q?R=C3=A9sum=C3=A9?=\r\n"
                              "Message-ID: <out-1@example.org>\r\n\r\nBody.\r\n";
    auto message = OutgoingMessage::withBytes(bytes);
    ASSERT_TRUE(message);
    EXPECT_EQ(message->messageBytes().value(), bytes);
    EXPECT_EQ(message->subject(), "Résumé");
    EXPECT_EQ(message->messageID(), "<out-1@example.org>");
    EXPECT_EQ(message->firstHeaderForKey("to"), "Ada <ada@example.org>");
    EXPECT_TRUE(message->isKindOfClass("Message"));
    EXPECT_FALSE(message->isKindOfClass("LibraryMessage"));
    EXPECT_EQ(Library::dataPathForMessage(message.get()), "");

    auto garbage = OutgoingMessage::withBytes("\x01\x02 not a message");
    ASSERT_TRUE(garbage);
    EXPECT_EQ(garbage->headers(), nullptr);
    EXPECT_EQ(garbage->subject(), "");
}

// Its destruction passes through its own replaceable dealloc, where bundles drop the
// state they attached to it.
std::vector<const Object*> deallocated;
void (*savedOutgoingDealloc)(Object*, Sel) = nullptr;
void recordDealloc(Object* self, Sel sel) {
    deallocated.push_back(self);
    savedOutgoingDealloc(self, sel);
}

TEST(OutgoingMessageTest, DestructionRunsItsDealloc) {
    registerHostClasses();
    deallocated.clear();
    ReplacedMethod replaced(OutgoingMessage::kClassName, "dealloc", "testRecordDealloc", &recordDealloc,
                            savedOutgoingDealloc);
    ASSERT_TRUE(replaced.installed());
    auto message = OutgoingMessage::withBytes(messageText(1));
    const Object* address = message.get();
    message.reset();
    EXPECT_EQ(deallocated, (std::vector<const Object*>{address}));
}

} // namespace
