#include "lumetta/store/MessageTagAccess.h"

#include "TagStoreSupport.h"
#include "lumetta/store/LibraryMessageTagAccess.h"
#include "lumetta/store/MessageTags.h"
#include "lumetta/store/RecoveredMessageTagAccess.h"
#include "lumetta/store/TagKeys.h"
#include "lumetta/store/TagRecord.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/RecoveredMessage.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Send.h"
#include "support/MessageFileSupport.h"

using namespace lumetta;
using mailhost::Message;
using platform::Array;
using platform::Date;
using platform::Dictionary;
using platform::Value;
namespace fs = std::filesystem;

namespace {

class MessageTagAccessTest : public storetest::TaggedLibraryTest {};

// Several objects for one stored message share one record; it lives while any of
// them that fetched it lives, and after the last one the file is read again.
TEST_F(MessageTagAccessTest, ObjectsOfOneMessageShareTheRecordUntilTheLastGoes) {
    const std::int64_t id = add(1)->libraryID();
    auto first = library_->message(id);
    auto second = library_->message(id);
    ASSERT_NE(first.get(), second.get());

    MessageTags::lumettaExtraData(*first)->set(TagKeys::kProject, "in memory only");
    EXPECT_EQ(MessageTags::lumettaProject(*second), Value("in memory only"));
    first.reset();
    EXPECT_EQ(MessageTags::lumettaProject(*second), Value("in memory only"));
    second.reset();
    EXPECT_EQ(LibraryMessageTagAccess::tableSizesForTesting().records, 0u);
    EXPECT_EQ(LibraryMessageTagAccess::tableSizesForTesting().tokenSets, 0u);

    auto third = library_->message(id);
    EXPECT_TRUE(MessageTags::lumettaProject(*third).isNull()) << "the unsaved change died with its holders";
}

// An object that never fetched the record leaves the others' hold on it alone.
TEST_F(MessageTagAccessTest, AnObjectThatNeverFetchedDoesNotDropOthersRecord) {
    const std::int64_t id = add(1)->libraryID();
    auto holder = library_->message(id);
    MessageTags::lumettaExtraData(*holder)->set(TagKeys::kAnnotation, "kept");
    library_->message(id).reset(); // made and dropped without a fetch
    EXPECT_EQ(MessageTags::lumettaAnnotation(*holder), Value("kept"));
}

// A single change goes straight to the file, at the top level of its property list,
// keeping the message bytes and the client's keys; bookkeeping never gets there.
TEST_F(MessageTagAccessTest, SettingATagWritesItIntoTheFileAtOnce) {
    auto message = add(1);
    const std::string head = fileHead(message->path());
    const Dictionary before = filePlist(message->path());
    MessageTags::lumettaRemoveExtraDataForKey(*message, TagKeys::kPriority);
    MessageTags::lumettaSetExtraData(*message, Array{"Work", "Invoice"}, TagKeys::kKeyWords);

    const Dictionary after = filePlist(message->path());
    EXPECT_EQ(fileHead(message->path()), head);
    EXPECT_EQ(after.get(TagKeys::kKeyWords), Value(Array{"Work", "Invoice"}));
    EXPECT_FALSE(after.contains(TagKeys::kTagsToRemove));
    for (const auto& [key, value] : before.entries())
        EXPECT_EQ(after.get(key), value) << key;
}

// A key removed in the record leaves the file on the next write, even though the
// record never held it and the host's own merge dictionary (the file's property
// list) still does.
TEST_F(MessageTagAccessTest, RemovingAKeyTheRecordNeverHadRemovesItFromTheFile) {
    auto message = add(1);
    ASSERT_TRUE(MessageTags::lumettaExtraData(*message));
    // Another writer tags the file after this record was loaded.
    {
        auto other = mailhost::EmlxFile::read(message->path()).value();
        Dictionary plist = other.plist().mutableCopy();
        plist.set(TagKeys::kAnnotation, "written elsewhere");
        plist.set(TagKeys::kProject, "Apollo");
        testsupport::writeBytes(message->path(),
                                mailhost::EmlxFile::compose(other.messageBytes(), plist).value());
    }
    MessageTags::lumettaRemoveExtraDataForKey(*message, TagKeys::kAnnotation);
    EXPECT_TRUE(TagRecord::isRemovalPending(*MessageTags::lumettaExtraData(*message), TagKeys::kAnnotation));

    const Dictionary after = filePlist(message->path());
    EXPECT_FALSE(after.contains(TagKeys::kAnnotation));
    EXPECT_EQ(after.get(TagKeys::kProject), Value("Apollo")) << "the file's other tags survive";

    // The removal stays pending: a later write removes the key again.
    MessageTags::lumettaSetExtraData(*message, 2, TagKeys::kPriority);
    EXPECT_FALSE(filePlist(message->path()).contains(TagKeys::kAnnotation));
}

// Asking whether a stored message has tags never reads its file.
TEST_F(MessageTagAccessTest, HasExtraDataAnswersFromMemoryOnly) {
    auto tagged = add(1);
    MessageTags::lumettaSetExtraData(*tagged, "Apollo", TagKeys::kProject);
    const std::int64_t id = tagged->libraryID();
    tagged.reset();

    auto fresh = library_->message(id);
    EXPECT_FALSE(MessageTags::lumettaHasExtraData(*fresh)) << "tags in the file, record not fetched";
    ASSERT_TRUE(MessageTags::lumettaExtraData(*fresh));
    EXPECT_TRUE(MessageTags::lumettaHasExtraData(*fresh));

    auto untagged = add(2);
    ASSERT_TRUE(MessageTags::lumettaExtraData(*untagged));
    EXPECT_FALSE(MessageTags::lumettaHasExtraData(*untagged)) << "a record of host keys only";
}

// Plain and loose messages keep their records per object, in memory.
TEST_F(MessageTagAccessTest, PlainAndLooseMessagesKeepRecordsPerObject) {
    platform::runtime::Class* plainClass = platform::runtime::Runtime::classNamed(Message::kClassName);
    {
        auto plain = plainClass->createInstance();
        auto& message = dynamic_cast<Message&>(*plain);
        EXPECT_FALSE(MessageTags::lumettaHasExtraData(message));
        EXPECT_TRUE(MessageTags::lumettaKeyWords(message).isNull());
        EXPECT_TRUE(MessageTags::lumettaHasExtraData(message)) << "the first read made an empty record";
        EXPECT_EQ(MessageTagAccess::recordCountForTesting(), 1u);
    }
    EXPECT_EQ(MessageTagAccess::recordCountForTesting(), 0u);

    auto stored = add(1);
    MessageTags::lumettaSetExtraData(*stored, "Apollo", TagKeys::kProject);
    const std::string before = storetest::TaggedLibraryTest::fileHead(stored->path());
    {
        auto loose = mailhost::RecoveredMessage::withPath(stored->path());
        ASSERT_TRUE(loose);
        EXPECT_TRUE(MessageTags::lumettaHasExtraData(*loose)) << "read when made from the file";
        EXPECT_EQ(MessageTags::lumettaProject(*loose), Value("Apollo"));
        MessageTags::lumettaSetExtraData(*loose, "Zephyr", TagKeys::kProject);
        EXPECT_EQ(MessageTags::lumettaProject(*loose), Value("Zephyr"));
    }
    EXPECT_EQ(RecoveredMessageTagAccess::recordCountForTesting(), 0u);
    EXPECT_EQ(filePlist(stored->path()).get(TagKeys::kProject), Value("Apollo"));
}

// Typed readings: the due date only while its state is on; the tag-set hook
// declines everything.
TEST_F(MessageTagAccessTest, TypedGettersFollowTheRecord) {
    auto message = add(1);
    const Date due{820000000.0};
    auto record = *MessageTags::lumettaExtraData(*message);
    record.set(TagKeys::kDueDate, due);
    EXPECT_TRUE(MessageTags::lumettaDueDate(*message).isNull());
    EXPECT_FALSE(MessageTags::lumettaDueDateState(*message));
    record.set(TagKeys::kDueDateState, 0);
    EXPECT_TRUE(MessageTags::lumettaDueDate(*message).isNull());
    record.set(TagKeys::kDueDateState, 1);
    EXPECT_EQ(MessageTags::lumettaDueDate(*message), Value(due));
    EXPECT_TRUE(MessageTags::lumettaDueDateState(*message));
    EXPECT_EQ(platform::runtime::send<bool>(static_cast<platform::runtime::Object*>(message.get()),
                                            TagSelectors::kUpdateTagSet, std::string("Work"), 1),
              false);
}

// Tracing follows "lumettaDebugLogging": quiet at 0, one line per change above.
TEST_F(MessageTagAccessTest, DebugLoggingTracesEachChange) {
    auto message = add(7);
    for (int level : {0, 1}) {
        platform::UserDefaults::standard().setObject(level, "lumettaDebugLogging");
        platform::ScopedLogCapture log;
        MessageTags::lumettaSetExtraData(*message, "Apollo", TagKeys::kProject);
        MessageTags::lumettaRemoveExtraDataForKey(*message, TagKeys::kProject);
        const auto lines = log.lines();
        const bool traced =
            std::count(lines.begin(), lines.end(),
                       "Setting Tag: lumettaProject with value Apollo for Message: Message 7") == 1 &&
            std::count(lines.begin(), lines.end(), "Remove Tag: lumettaProject for message: Message 7") == 1;
        EXPECT_EQ(traced, level > 0) << "level " << level;
    }
}

} // namespace
