#include "mailhost/mail/LibraryStore.h"

#include "mailhost/HostClasses.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/Library.h"
#include "platform/foundation/AtomicFile.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Runtime.h"

#include "support/MessageFileSupport.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <set>

using namespace mailhost;
using platform::Dictionary;
using platform::Result;
namespace fs = std::filesystem;

namespace {

const char kFixture[] = "01-mail10.3-full-multipart-alt-114862.emlx";

std::string messageText(int n) {
    return "From: Ada <ada@example.org>\nSubject: Note " + std::to_string(n) + "\nMessage-ID: <note-" +
           std::to_string(n) + "@example.org>\n\nText " + std::to_string(n) + ".\n";
}

// Installs a test implementation over one of the store's methods as a bundle does, and
// puts the previous one back when the test ends, whatever happened in between.
template <class Imp> class ReplacedStoreMethod {
public:
    ReplacedStoreMethod(const char* selector, const char* testSelector, Imp imp, Imp& saved)
        : selector_(selector) {
        platform::runtime::Class* cls = platform::runtime::Runtime::classNamed(LibraryStore::kClassName);
        cls->addInstanceMethod(testSelector, imp);
        saved_ = platform::runtime::Runtime::replaceInstanceMethod(selector, LibraryStore::kClassName,
                                                                   testSelector, LibraryStore::kClassName);
        saved = reinterpret_cast<Imp>(saved_);
    }
    ~ReplacedStoreMethod() {
        if (saved_)
            platform::runtime::Runtime::classNamed(LibraryStore::kClassName)
                ->instanceMethod(selector_)
                ->exchange(saved_);
    }
    bool installed() const { return saved_ != nullptr; }

private:
    const char* selector_;
    void (*saved_)() = nullptr;
};

class LibraryStoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        registerHostClasses();
        char tmpl[] = "/tmp/lumetta-store-XXXXXX";
        root_ = mkdtemp(tmpl);
        auto opened = Library::open(root_, true);
        ASSERT_TRUE(opened.ok()) << opened.error().message;
        library_ = std::move(opened.value());
        store_ = LibraryStore::forMailbox(*library_, "INBOX");
        ASSERT_TRUE(store_);
    }
    void TearDown() override {
        store_.reset();
        library_.reset();
        fs::remove_all(root_);
    }

    std::shared_ptr<LibraryMessage> add(int n, const std::string& mailbox = "INBOX") {
        auto added = library_->addMessage(mailbox, messageText(n), 0, 800000000.0 + n);
        EXPECT_TRUE(added.ok()) << (added ? "" : added.error().message);
        return added ? added.value() : nullptr;
    }
    fs::path inbox() const { return root_ / "INBOX.mbox" / "Messages"; }
    std::set<std::int64_t> indexed(const std::string& mailbox = "INBOX") {
        std::set<std::int64_t> ids;
        for (const auto& m : library_->messagesInMailbox(mailbox))
            ids.insert(static_cast<LibraryMessage*>(m.get())->libraryID());
        return ids;
    }

    fs::path root_;
    std::unique_ptr<Library> library_;
    std::unique_ptr<LibraryStore> store_;
};

// Rebuilding makes the index match the files: files dropped in by hand are adopted
// under their own row numbers with what their headers and property lists say, rows
// whose file is gone are forgotten, changed flag words are taken over, and what is not
// a message file of this very mailbox is left alone.
TEST_F(LibraryStoreTest, RebuildMakesTheIndexMatchTheFiles) {
    auto flagged = add(1);
    auto deleted = add(2);
    ASSERT_TRUE(library_->createMailbox("INBOX/Receipts").ok());
    auto nested = add(3, "INBOX/Receipts");
    fs::copy_file(testsupport::realMessage(kFixture), inbox() / "114862.emlx");
    fs::remove(deleted->path());
    {
        auto file = EmlxFile::read(flagged->path());
        Dictionary plist = file.value().plist().mutableCopy();
        plist.set("flags", platform::Value::unsignedInteger((1ULL << 4) | (1ULL << 40)));
        ASSERT_TRUE(platform::AtomicFile::write(flagged->path(),
                                                EmlxFile::compose(file.value().messageBytes(), plist).value())
                        .ok());
    }
    ASSERT_TRUE(platform::AtomicFile::write(inbox() / "500.emlx", "not a message file\n").ok());
    fs::create_directories(root_ / "INBOX.mbox" / "Data" / "2" / "1" / "Messages");
    fs::copy_file(testsupport::realMessage(kFixture), root_ / "INBOX.mbox" / "Data" / "2" / "1" / "Messages" / "12345.emlx");

    auto rebuilt = store_->rebuildTableOfContents();
    ASSERT_TRUE(rebuilt.ok()) << rebuilt.error().message;
    EXPECT_EQ(rebuilt.value(), 2u);
    EXPECT_EQ(indexed(), (std::set<std::int64_t>{flagged->libraryID(), 114862}));
    EXPECT_EQ(indexed("INBOX/Receipts"), (std::set<std::int64_t>{nested->libraryID()}));
    EXPECT_EQ(library_->message(flagged->libraryID())->flags(), (1ULL << 4) | (1ULL << 40));

    auto adopted = library_->message(114862);
    ASSERT_TRUE(adopted);
    EXPECT_EQ(adopted->envelope().subject, "Lorem ipsum");
    EXPECT_EQ(adopted->envelope().sender, "Philipp Katz <philipp@philippkatz.de>");
    EXPECT_EQ(adopted->envelope().messageID, "<D9035B79-5B16-4857-9F9D-E27D49BE1C1B@philippkatz.de>");
    EXPECT_EQ(adopted->flags(), 8623750272u);
    EXPECT_EQ(adopted->envelope().dateReceived, platform::Date::fromUnix(1516985072).seconds);
    EXPECT_EQ(adopted->path(), inbox() / "114862.emlx");
    // Row numbers handed out later do not collide with the adopted one.
    EXPECT_GT(add(4)->libraryID(), 114862);
}

// A file moved by hand from another mailbox moves its row along; a copy whose
// original is still in place does not take the row over.
TEST_F(LibraryStoreTest, RebuildMovesRowsOnlyForFilesMovedByHand) {
    struct Case {
        const char* name;
        bool moveFile;
        const char* owner;
    };
    for (const Case& c : {Case{"moved", true, "INBOX"}, Case{"copied", false, "Sent"}}) {
        auto sent = add(1, "Sent");
        const fs::path target = inbox() / sent->path().filename();
        if (c.moveFile)
            fs::rename(sent->path(), target);
        else
            fs::copy_file(sent->path(), target);
        ASSERT_TRUE(store_->rebuildTableOfContents().ok()) << c.name;
        EXPECT_EQ(indexed(c.owner), (std::set<std::int64_t>{sent->libraryID()})) << c.name;
        fs::remove(target);
        (void)library_->index().remove(sent->libraryID());
    }
}

// A rebuild that cannot see the mailbox changes nothing and announces nothing.
TEST_F(LibraryStoreTest, FailedRebuildKeepsTheIndex) {
    auto message = add(1);
    int announced = 0;
    auto token = platform::NotificationCenter::defaultCenter().addObserver(
        LibraryStore::kMessagesAddedNotification, nullptr,
        [&](const platform::Notification&) { ++announced; });
    fs::remove_all(root_ / "INBOX.mbox");
    EXPECT_FALSE(store_->rebuildTableOfContents().ok());
    platform::NotificationCenter::defaultCenter().removeObserver(token);
    EXPECT_EQ(indexed(), (std::set<std::int64_t>{message->libraryID()}));
    EXPECT_EQ(announced, 0);
    EXPECT_EQ(LibraryStore::forMailbox(*library_, "Nowhere"), nullptr);
}

// Observers: after a rebuild every message of the mailbox arrives anew, as fresh
// objects, first at `handleMessagesAdded:`, then as a notification.
std::vector<std::string> seenByHook;
std::vector<const Message*> objectsSeenByHook;
void (*savedMessagesAdded)(Object*, Sel, const MessagesAddedNotification&) = nullptr;

void recordMessagesAdded(Object* self, Sel sel, const MessagesAddedNotification& notification) {
    for (const auto& m : notification.messages) {
        seenByHook.push_back(m->messageID());
        objectsSeenByHook.push_back(m.get());
    }
    savedMessagesAdded(self, sel, notification);
}

TEST_F(LibraryStoreTest, RebuildAnnouncesEveryMessageAsAdded) {
    seenByHook.clear();
    objectsSeenByHook.clear();
    ReplacedStoreMethod replaced("handleMessagesAdded:", "testRecordMessagesAdded:", &recordMessagesAdded,
                                 savedMessagesAdded);
    ASSERT_TRUE(replaced.installed());
    auto first = add(1);
    auto second = add(2);
    std::vector<std::string> notified;
    bool hookRanFirst = false;
    auto token = platform::NotificationCenter::defaultCenter().addObserver(
        LibraryStore::kMessagesAddedNotification, store_.get(), [&](const platform::Notification& n) {
            hookRanFirst = !seenByHook.empty();
            EXPECT_EQ(n.userInfo.get("mailbox").stringValue(), "INBOX");
            for (const auto& id : n.userInfo.get("libraryIDs").array()->items())
                notified.push_back(id.stringValue());
        });
    auto rebuilt = store_->rebuildTableOfContents();
    platform::NotificationCenter::defaultCenter().removeObserver(token);

    ASSERT_TRUE(rebuilt.ok());
    const std::vector<std::string> all = {first->messageID(), second->messageID()};
    EXPECT_EQ(seenByHook, all);
    EXPECT_EQ(notified, all);
    EXPECT_TRUE(hookRanFirst);
    for (const Message* seen : objectsSeenByHook)
        EXPECT_TRUE(seen != first.get() && seen != second.get());
}

// A bundle's replacement of the rebuild runs before the host's and sees the mailbox as
// it was; its result is the caller's.
std::vector<std::size_t> countsBeforeHost;
Result<std::size_t> (*savedRebuild)(Object*, Sel) = nullptr;

Result<std::size_t> countingRebuild(Object* self, Sel sel) {
    countsBeforeHost.push_back(static_cast<LibraryStore*>(self)->copyOfAllMessages().size());
    return savedRebuild(self, sel);
}

TEST_F(LibraryStoreTest, ReplacedRebuildRunsTheBundlesCodeFirst) {
    countsBeforeHost.clear();
    ReplacedStoreMethod replaced("_rebuildTableOfContentsSynchronously", "testCountingRebuild",
                                 &countingRebuild, savedRebuild);
    ASSERT_TRUE(replaced.installed());
    add(1);
    fs::remove(add(2)->path());
    auto rebuilt = store_->rebuildTableOfContents();
    ASSERT_TRUE(rebuilt.ok());
    EXPECT_EQ(countsBeforeHost, std::vector<std::size_t>{2});
    EXPECT_EQ(rebuilt.value(), 1u);
}

// The store's dealloc runs as it goes away, while its mailbox can still be read.
std::vector<std::string> deallocatedStores;
void (*savedDealloc)(Object*, Sel) = nullptr;

void recordingDealloc(Object* self, Sel sel) {
    deallocatedStores.push_back(static_cast<LibraryStore*>(self)->mailbox());
    savedDealloc(self, sel);
}

TEST_F(LibraryStoreTest, DestroyingAStoreCallsItsDealloc) {
    deallocatedStores.clear();
    ReplacedStoreMethod replaced("dealloc", "testRecordingDealloc", &recordingDealloc, savedDealloc);
    ASSERT_TRUE(replaced.installed());
    LibraryStore::forMailbox(*library_, "Sent").reset();
    EXPECT_EQ(deallocatedStores, std::vector<std::string>{"Sent"});
}

} // namespace
