#include "TagStoreSupport.h"
#include "lumetta/store/LibraryTagPersistence.h"
#include "lumetta/store/MessageTags.h"
#include "lumetta/store/TagKeys.h"
#include "lumetta/store/TagRecord.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/LibraryStore.h"
#include "mailhost/mail/MessageWriter.h"
#include "platform/foundation/PropertyList.h"
#include "platform/runtime/Runtime.h"
#include "support/GoldenFile.h"
#include "support/MessageFileSupport.h"

#include <regex>

using namespace lumetta;
using mailhost::EmlxFile;
using mailhost::Library;
using mailhost::LibraryMessage;
using platform::Array;
using platform::Date;
using platform::Dictionary;
using platform::Value;
namespace fs = std::filesystem;

namespace {

const std::string kAttachmentHeaders = "MIME-Version: 1.0\n"
                                       "Content-Type: multipart/mixed; boundary=\"b1\"\n";

std::string withAttachment(int n) {
    std::string text = storetest::messageText(n, kAttachmentHeaders);
    const std::string body = "Body of message " + std::to_string(n) + ".\n";
    text.replace(text.find(body), body.size(),
                 "--b1\nContent-Type: text/plain\n\n" + body +
                     "--b1\nContent-Type: application/pdf; name=a.pdf\nContent-Disposition: attachment; "
                     "filename=a.pdf\nContent-Transfer-Encoding: base64\n\nUkVQT1JU\n--b1--\n");
    return text;
}

class TagPersistenceTest : public storetest::TaggedLibraryTest {
protected:
    // Tags written into the file, then changed in memory only.
    std::shared_ptr<LibraryMessage> taggedInFileThenChangedInMemory() {
        auto source = add(1);
        MessageTags::lumettaSetExtraData(*source, "From file", TagKeys::kProject);
        MessageTags::lumettaSetExtraData(*source, "file note", TagKeys::kAnnotation);
        MessageTags::lumettaSetExtraData(*source, Array{"Filed"}, TagKeys::kKeyWords);
        Dictionary record = *MessageTags::lumettaExtraData(*source);
        TagRecord::setTag(record, TagKeys::kProject, Array{"From record"});
        TagRecord::setTag(record, TagKeys::kPriority, 3);
        TagRecord::removeTag(record, TagKeys::kAnnotation);
        return source;
    }
};

// A copy arrives with the file's tags and the record's over them, removals applied;
// its message bytes are the source's.
TEST_F(TagPersistenceTest, CopiesCarryTheUnionOfFileAndRecordTags) {
    auto source = taggedInFileThenChangedInMemory();
    auto copies = Library::duplicateMessages({source}, "Sent");
    ASSERT_TRUE(copies && copies->size() == 1);
    auto* copy = dynamic_cast<LibraryMessage*>(copies->front().second.get());
    ASSERT_TRUE(copy);
    EXPECT_EQ(copy->mailboxName(), "Sent");

    const Dictionary file = filePlist(copy->path());
    EXPECT_EQ(file.get(TagKeys::kProject), Value(Array{"From record"}));
    EXPECT_EQ(file.get(TagKeys::kPriority), Value(3));
    EXPECT_EQ(file.get(TagKeys::kKeyWords), Value(Array{"Filed"}));
    EXPECT_FALSE(file.contains(TagKeys::kAnnotation));
    EXPECT_FALSE(file.contains(TagKeys::kTagsToRemove));
    EXPECT_EQ(fileHead(copy->path()).substr(fileHead(copy->path()).find('\n')),
              fileHead(source->path()).substr(fileHead(source->path()).find('\n')));
    EXPECT_EQ(filePlist(source->path()).get(TagKeys::kProject), Value("From file"))
        << "the source is not written";
}

// A removal set is bookkeeping of one process, kept in memory. One found in a file
// (another writer left it there) is not taken for this process's: it would remove a tag
// another process puts into the file meanwhile. And the next write leaves it out.
TEST_F(TagPersistenceTest, ARemovalSetFoundInAFileIsNeitherTakenNorWrittenAgain) {
    auto added = add(71);
    const fs::path path = added->path();
    const std::int64_t id = added->libraryID();
    // The record goes with the last object of the message, and is read from the file again.
    added.reset();
    const auto plant = [&](const Dictionary& tags) {
        auto file = EmlxFile::read(path);
        ASSERT_TRUE(file.ok());
        Dictionary plist = file.value().plist().mutableCopy();
        for (const auto& [key, value] : tags.entries())
            plist.set(key, value);
        plist.set(TagKeys::kTagsToRemove, Array{TagKeys::kProject, TagKeys::kKeyWords});
        testsupport::writeBytes(path, EmlxFile::compose(file.value().messageBytes(), plist).value());
    };
    plant({{TagKeys::kKeyWords, Array{"Kept"}}});
    auto message = library_->message(id);
    ASSERT_TRUE(MessageTags::lumettaExtraData(*message));
    EXPECT_FALSE(MessageTags::lumettaExtraData(*message)->contains(TagKeys::kTagsToRemove));

    plant({{TagKeys::kKeyWords, Array{"Kept"}}, {TagKeys::kProject, "Theirs"}});
    MessageTags::lumettaSetExtraData(*message, 2, TagKeys::kPriority);

    const Dictionary file = filePlist(path);
    EXPECT_FALSE(file.contains(TagKeys::kTagsToRemove));
    EXPECT_EQ(file.get(TagKeys::kPriority), Value(2));
    EXPECT_EQ(file.get(TagKeys::kProject), Value("Theirs"));
    EXPECT_EQ(file.get(TagKeys::kKeyWords), Value(Array{"Kept"}));
}

// Whatever kind of message a property list is made for, the removal set stays out.
TEST_F(TagPersistenceTest, NoPropertyListMadeForAFileHoldsARemovalSet) {
    platform::runtime::Class* cls = platform::runtime::Runtime::classNamed(Library::kClassName);
    ASSERT_NE(cls, nullptr);
    const Dictionary merge{{TagKeys::kTagsToRemove, Array{TagKeys::kProject}}, {"color", "000000"}};
    const std::string xml =
        LibraryTagPersistence::lumettaPlistDataForMessage(cls, {}, nullptr, "", "", "", 0, "", "", 0, merge);
    auto parsed = platform::PropertyList::parse(xml);
    ASSERT_TRUE(parsed.ok() && parsed.value().isDictionary()) << xml;
    EXPECT_FALSE(parsed.value().dictionary()->contains(TagKeys::kTagsToRemove));
    EXPECT_EQ(parsed.value().dictionary()->get("color"), Value("000000"));
}

// A rebuild makes new objects for every message; tags held only in memory reach
// them through the message-id header and are saved.
TEST_F(TagPersistenceTest, RebuildCarriesInMemoryTagsByMessageIDAndSavesThem) {
    library_->createMailbox("Projects").value();
    auto held = add(1, "Projects");
    auto other = add(2, "Projects");
    Dictionary record = *MessageTags::lumettaExtraData(*held);
    record.set(TagKeys::kProject, "Apollo");
    record.set("hostKey", "not carried");
    // A file dropped into the mailbox by hand: it was not there before the rebuild
    // and nothing is carried to it.
    const fs::path dropped = held->path().parent_path() / "990.emlx";
    testsupport::writeBytes(dropped,
                            EmlxFile::compose(storetest::messageText(990), Dictionary{{"flags", 0}}).value());

    auto store = mailhost::LibraryStore::forMailbox(*library_, "Projects");
    ASSERT_TRUE(store);
    ASSERT_EQ(store->rebuildTableOfContents().valueOr(0), 3u);

    EXPECT_EQ(filePlist(held->path()).get(TagKeys::kProject), Value("Apollo"));
    EXPECT_FALSE(filePlist(held->path()).contains("hostKey"));
    EXPECT_FALSE(TagRecord::hasTagKeys(filePlist(other->path())));
    EXPECT_FALSE(TagRecord::hasTagKeys(filePlist(dropped)));
}

// Removing attachments makes a new message; it keeps the record, unsaved changes
// included.
TEST_F(TagPersistenceTest, AttachmentRemovalKeepsTheRecord) {
    auto added = library_->addMessage("INBOX", withAttachment(5), 0, 817000000.0);
    ASSERT_TRUE(added.ok());
    auto original = added.value();
    MessageTags::lumettaSetExtraData(*original, Array{"Invoice"}, TagKeys::kKeyWords);
    MessageTags::lumettaExtraData(*original)->set(TagKeys::kAnnotation, "unsaved note");

    auto stripped =
        mailhost::MessageWriter::create()->createMessageByRemovingAttachmentsFromMessage(original);
    ASSERT_TRUE(stripped);
    EXPECT_NE(stripped->messageID(), original->messageID());
    EXPECT_EQ(MessageTags::lumettaKeyWords(*stripped), Value(Array{"Invoice"}));
    EXPECT_EQ(MessageTags::lumettaAnnotation(*stripped), Value("unsaved note"));
}

// The client's own files: tagging keeps every message byte and every key of the
// client's, adds the tags at the top level in the client's style, and a fresh
// object reads the same values back. A file whose count runs past its end takes no
// tags and is left as it is.
TEST_F(TagPersistenceTest, GenuineFilesTakeTagsWithoutLosingAByte) {
    const fs::path folder = library_->layout().mailboxFolder("INBOX") / "Messages";
    const std::regex rowidName(R"(.*-(\d+)((\.partial)?\.emlx)$)");
    for (const fs::path& original : testsupport::realMessageFiles()) {
        std::smatch m;
        const std::string name = original.filename().string();
        if (std::regex_match(name, m, rowidName))
            fs::copy_file(original, folder / (m[1].str() + m[2].str()));
    }
    auto store = mailhost::LibraryStore::forMailbox(*library_, "INBOX");
    ASSERT_TRUE(store && store->rebuildTableOfContents().ok());

    const Date due{817000000.0};
    const Dictionary tags{{TagKeys::kKeyWords, Array{"Work", "Überprüfung"}},
                          {TagKeys::kProject, "Apollo"},
                          {TagKeys::kPriority, 4},
                          {TagKeys::kAnnotation, "Call <back> & \"confirm\""},
                          {TagKeys::kDueDate, due},
                          {TagKeys::kDueDateState, 1}};
    std::size_t tagged = 0;
    for (const auto& message : library_->messagesInMailbox("INBOX")) {
        auto* stored = static_cast<LibraryMessage*>(message.get());
        const fs::path path = stored->path();
        SCOPED_TRACE(path.filename());
        const std::string before = testsupport::readFile(path);
        auto original = EmlxFile::parse(before).value();
        for (const auto& [key, value] : tags.entries())
            MessageTags::lumettaSetExtraData(*message, value, key);

        if (original.condition() == EmlxFile::Condition::Truncated) {
            EXPECT_EQ(testsupport::readFile(path), before);
            EXPECT_FALSE(MessageTags::lumettaExtraData(*message));
            continue;
        }
        ++tagged;
        auto after = EmlxFile::read(path).value();
        ASSERT_TRUE(after.ok()) << after.problem();
        EXPECT_EQ(after.bytes().substr(0, after.tailOffset()), before.substr(0, original.tailOffset()));
        for (const auto& [key, value] : original.plist().entries())
            EXPECT_EQ(after.plist().get(key), value) << key;
        for (const auto& [key, value] : tags.entries())
            EXPECT_EQ(after.plist().get(key), value) << key;
        if (path.filename() == "114862.emlx") {
            EXPECT_EQ(testsupport::compareWithGolden(fs::path(LUMETTA_TEST_DATA_DIR) / "tagged-114862.tail",
                                                     std::string(after.rawTail())),
                      "");
        }
    }
    EXPECT_GE(tagged, 4u);

    // Fresh objects, records read from the files again.
    for (const auto& message : library_->messagesInMailbox("INBOX")) {
        auto record = MessageTags::lumettaExtraData(*message);
        if (!record)
            continue;
        for (const auto& [key, value] : tags.entries())
            EXPECT_EQ(record->get(key), value) << key;
        EXPECT_EQ(MessageTags::lumettaDueDate(*message), Value(due));
    }
}

} // namespace
