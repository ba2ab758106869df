#include "TagStoreSupport.h"
#include "lumetta/store/BulkTagChange.h"
#include "lumetta/store/MessageTags.h"
#include "lumetta/store/TagKeys.h"
#include "mailhost/library/EmlxFile.h"
#include "support/FaultyFileLayer.h"
#include "mailhost/library/IndexIntentLog.h"
#include "mailhost/library/RealFileLayer.h"
#include "mailhost/library/WriteJournal.h"
#include "platform/foundation/NotificationCenter.h"
#include "support/MessageFileSupport.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace {

using namespace lumetta;
using mailhost::FaultyFileLayer;
using mailhost::Library;
using platform::Array;
using platform::Dictionary;
using platform::Value;
namespace fs = std::filesystem;

class SaveSafetyTest : public storetest::TaggedLibraryTest {
protected:
    // The library again, its journal and tail writes going through `files`.
    void reopen(mailhost::FileLayer& files = mailhost::RealFileLayer::instance()) {
        library_.reset();
        auto opened = Library::open(root_, false, true, files);
        ASSERT_TRUE(opened.ok()) << opened.error().message;
        library_ = std::move(opened.value());
    }
    Value indexed(const std::shared_ptr<mailhost::LibraryMessage>& m, const char* attribute) {
        return library_->metadata()->attribute(m->path().string(), attribute);
    }
    // What another process writes into a message's file.
    static void writeElsewhere(const fs::path& path, const Dictionary& tags) {
        auto file = mailhost::EmlxFile::read(path).value();
        Dictionary plist = file.plist().mutableCopy();
        plist.addEntries(tags);
        testsupport::writeBytes(path, mailhost::EmlxFile::compose(file.messageBytes(), plist).value());
    }
    static void addKeyword(BulkTagChange& change, const std::shared_ptr<mailhost::LibraryMessage>& m,
                           const std::string& keyword) {
        Array keywords = MessageTags::lumettaKeyWords(*m).isArray()
                             ? MessageTags::lumettaKeyWords(*m).array()->mutableCopy()
                             : Array{};
        keywords.add(keyword);
        change.set(m, TagKeys::kKeyWords, keywords);
    }
};

// Another process's tags written after this one read the file survive this one's save;
// the record learns them, and only what this process changed goes over them.
TEST_F(SaveSafetyTest, ASaveKeepsWhatAnotherProcessWroteMeanwhile) {
    auto m = add(1);
    writeElsewhere(m->path(), Dictionary{{TagKeys::kProject, "Apollo"}});
    ASSERT_TRUE(MessageTags::lumettaExtraData(*m)); // read now: Apollo
    writeElsewhere(m->path(), Dictionary{{TagKeys::kKeyWords, Array{"A"}}, {TagKeys::kProject, "Gemini"}});

    BulkTagChange change;
    addKeyword(change, m, "B"); // the record never saw "A"
    change.commit();

    const Dictionary file = filePlist(m->path());
    EXPECT_EQ(file.get(TagKeys::kKeyWords), Value(Array{"A", "B"}));
    EXPECT_EQ(file.get(TagKeys::kProject), Value("Gemini")) << "a tag this process did not change";
    EXPECT_EQ(MessageTags::lumettaProject(*m), Value("Gemini"));
    EXPECT_EQ(indexed(m, "kMDItemKeywords"), Value(Array{"A", "B"}));
}

// A journal that cannot be written saves nothing: every message is named, the files and
// the index keep what they had, and the change is saved once the disk has room.
TEST_F(SaveSafetyTest, AFullDiskSavesNothingAndSaysSoForEveryMessage) {
    FaultyFileLayer faulty(mailhost::RealFileLayer::instance());
    reopen(faulty);
    std::vector<std::shared_ptr<mailhost::LibraryMessage>> messages{add(1), add(2), add(3)};
    std::vector<std::int64_t> notSaved;
    const auto token = platform::NotificationCenter::defaultCenter().addObserver(
        std::string(Library::kMessagesNotSavedNotification), nullptr, [&](const platform::Notification& n) {
            for (const Value& id : n.userInfo.get("libraryIDs").array()->items())
                notSaved.push_back(id.intValue());
        });
    (void)Library::takeWriteFailures();

    faulty.failNth(FaultyFileLayer::Call::Write, mailhost::WriteJournal::kFileName, 1, ENOSPC);
    BulkTagChange change;
    for (const auto& m : messages)
        addKeyword(change, m, "Full");
    change.commit();
    platform::NotificationCenter::defaultCenter().removeObserver(token);

    const auto failures = Library::takeWriteFailures();
    ASSERT_EQ(failures.size(), 3u);
    EXPECT_EQ(notSaved.size(), 3u);
    for (const auto& failure : failures)
        EXPECT_NE(failure.reason.find("No space left"), std::string::npos) << failure.reason;
    for (const auto& m : messages) {
        EXPECT_FALSE(filePlist(m->path()).contains(TagKeys::kKeyWords));
        EXPECT_TRUE(indexed(m, "kMDItemKeywords").isNull()) << "the index ran ahead of " << m->path();
    }

    // The change is still in the records, and the next save writes it.
    Library::flagsChangedForMessages({messages.begin(), messages.end()});
    Library::updateMessageFiles(nullptr);
    EXPECT_TRUE(Library::takeWriteFailures().empty());
    for (const auto& m : messages)
        EXPECT_EQ(filePlist(m->path()).get(TagKeys::kKeyWords), Value(Array{"Full"}));
    messages.clear();
    reopen(); // the faulty layer goes before the library would
}

// Tags mirrored ahead of a file whose write never came (the process was killed) are
// brought back in step with the file when the library next opens.
TEST_F(SaveSafetyTest, MirroredAheadOfItsFileIsUndoneAtTheNextOpening) {
    auto m = add(1);
    writeElsewhere(m->path(), Dictionary{{TagKeys::kProject, "Apollo"}});
    ASSERT_TRUE(MessageTags::lumettaExtraData(*m));
    MessageTags::lumettaSynchroniseWithSpotlight(*m);
    ASSERT_TRUE(library_->metadata()
                    ->setAttribute(m->path().string(), "kMDItemKeywords", Value(Array{"Phantom"}))
                    .ok());
    const fs::path notes = root_ / mailhost::IndexIntentLog::kFolderName;
    ASSERT_FALSE(fs::is_empty(notes));
    m.reset();

    reopen(); // as the next process to open the library does
    auto again = library_->message(1);
    ASSERT_TRUE(again);
    EXPECT_TRUE(indexed(again, "kMDItemKeywords").isNull());
    EXPECT_EQ(indexed(again, "kMDItemProjects"), Value(Array{"Apollo"})) << "what the file holds stays";
    EXPECT_TRUE(fs::is_empty(notes)) << "the notes of the ended process were not removed";
}

} // namespace

namespace {

// A message whose file the client moved to one of its other places (the sharded layout)
// is saved there, and searched for there.
TEST_F(SaveSafetyTest, AFileAtItsOtherPlaceIsSavedAndFoundThere) {
    auto m = add(1);
    const fs::path moved = Library::dataPathForMessage(m.get(), 2);
    ASSERT_NE(moved, m->path());
    fs::create_directories(moved.parent_path());
    fs::rename(m->path(), moved);
    (void)Library::takeWriteFailures();

    BulkTagChange change;
    addKeyword(change, m, "Moved");
    change.commit();

    EXPECT_TRUE(Library::takeWriteFailures().empty());
    EXPECT_EQ(filePlist(moved).get(TagKeys::kKeyWords), Value(Array{"Moved"}));
    EXPECT_EQ(library_->metadata()->attribute(moved.string(), "kMDItemKeywords"), Value(Array{"Moved"}));
    EXPECT_FALSE(library_->metadata()->hasItem(m->path().string())) << "the item of a file that is gone";
}

} // namespace
