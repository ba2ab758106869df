#pragma once

#include "mailhost/library/EmlxFile.h"
#include "mailhost/library/EnvelopeIndex.h"
#include "mailhost/library/IndexIntentLog.h"
#include "mailhost/library/LibraryLayout.h"
#include "mailhost/library/TailWriter.h"
#include "mailhost/mail/LibraryIndexer.h"
#include "mailhost/mail/LibraryMessage.h"
#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Result.h"
#include "platform/spotlight/MetadataStore.h"

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace mailhost {

using MessageList = std::vector<std::shared_ptr<Message>>;
// What a copy made: each source message with its new copy, in the order given.
using DuplicateMap = std::vector<std::pair<std::shared_ptr<Message>, std::shared_ptr<Message>>>;

// The local mail library: mailboxes of .emlx files under one root folder, the
// Envelope Index beside them, and the write path through which every change to a
// message file goes. The host keeps one open library per process; the class methods
// the plug-in replaces act on it.
class Library {
public:
    static constexpr const char* kClassName = "Library";
    static constexpr const char* kFlagsChangedNotification = "LibraryMessageFlagsChanged";
    // Posted after a save that left files as they were, with the messages' rows under
    // "libraryIDs" (an array of integers) in its user information: whoever mirrored
    // their new state elsewhere takes it back.
    static constexpr const char* kMessagesNotSavedNotification = "LibraryMessagesNotSaved";
    // Posted after message files were taken into the metadata index as they lie on
    // disk (a folder adopted, a mailbox rebuilt), with their paths under "paths" (an
    // array of strings): whoever mirrors more of a file into the index than the host's
    // own attributes reads those files now, while the index takes the batch.
    static constexpr const char* kMessageFilesIndexedNotification = "LibraryMessageFilesIndexed";
    static inline const std::vector<std::string> kStandardMailboxes = {"INBOX", "Drafts", "Sent", "Trash",
                                                                       "Outbox"};

    // Defines "Library" and its replaceable class methods.
    static Class& registerClass();

    // Opens the library at `root` (creating it and its standard mailboxes when
    // `create`), finishing any write a crash interrupted. It becomes the current one.
    // `withStandardMailboxes` false creates only the index (adopting a mail folder
    // adds nothing to it but that).
    // `files` is the layer the write journal and tail writes go through (a test's
    // faulty one, to see what a full or failing disk does).
    static platform::Result<std::unique_ptr<Library>> open(const std::filesystem::path& root, bool create,
                                                           bool withStandardMailboxes = true,
                                                           FileLayer& files = RealFileLayer::instance());
    static Library* current();
    ~Library();

    const LibraryLayout& layout() const { return layout_; }
    EnvelopeIndex& index() { return *index_; }
    // The library's metadata index; nullptr when it could not be opened (the library
    // still works, only searches find nothing).
    platform::spotlight::MetadataStore* metadata() { return metadata_.get(); }

    // What keeps the metadata index in line with the message files.
    LibraryIndexer& indexer() { return indexer_; }

    platform::Result<MailboxRecord> createMailbox(const std::string& name);
    std::vector<MailboxRecord> mailboxes() const { return index_->mailboxes(); }

    // A new object for the stored message, or nullptr when there is none.
    std::shared_ptr<LibraryMessage> message(std::int64_t rowid);
    MessageList messagesInMailbox(const std::string& mailbox);
    // New objects for those of the rows that are stored, read in one go, in no particular
    // order: what a listing of many search hits needs.
    std::vector<std::shared_ptr<LibraryMessage>> messages(std::span<const std::int64_t> rowids);
    // The file of each of those rows that are stored (as their messages' path()), read in
    // one go and without making message objects: what a plain listing of hits prints.
    std::unordered_map<std::int64_t, std::string> messagePaths(std::span<const std::int64_t> rowids);

    // Stores a new message in `mailbox`; its file is written whole and atomically, its
    // property list holding `properties` (what the message brings from where it was:
    // a colour, tags) beside the flags and the arrival date.
    platform::Result<std::shared_ptr<LibraryMessage>> addMessage(const std::string& mailbox,
                                                                 std::string_view messageBytes,
                                                                 std::uint64_t flags, double dateReceived,
                                                                 const platform::Dictionary& properties = {});

    // Many new messages at once (an import): while a bulk add is open, the index
    // changes form one transaction and message files are not flushed one by one;
    // commit() makes them durable together. A bulk add dropped without commit rolls
    // the index back; files it wrote stay as unindexed strays that later imports
    // overwrite.
    class BulkAdd {
    public:
        explicit BulkAdd(Library& library);
        ~BulkAdd();
        BulkAdd(const BulkAdd&) = delete;
        BulkAdd& operator=(const BulkAdd&) = delete;
        platform::Result<void> commit();

    private:
        Library& library_;
        bool open_ = false;
    };

    // The class methods, called through their seams so a bundle's replacement runs.
    static std::string dataPathForMessage(Message* message);
    static std::string dataPathForMessage(Message* message, int type);
    static std::shared_ptr<LibraryMessage> messageWithLibraryID(Class* cls, std::int64_t rowid);
    static void flagsChangedForMessages(const MessageList& messages);
    static void updateMessageFiles(Class* cls);
    // Copies messages into `mailbox`, setting and clearing flag bits on the copies;
    // nullopt when nothing could be copied.
    static std::optional<DuplicateMap> duplicateMessages(const MessageList& messages,
                                                         const std::string& mailbox,
                                                         std::uint64_t setFlags = 0,
                                                         std::uint64_t clearFlags = 0);

    // Writes every changed message now; the number of files written.
    platform::Result<std::size_t> writeChangedMessages();
    void markChanged(const MessageList& messages);

    // A message whose file a save left as it was, and why.
    struct WriteFailure {
        std::int64_t rowid = 0;
        std::string path;
        std::string reason;
    };
    // Every message a save left unwritten since the last call, oldest first. The seams
    // that save return nothing, so the front ends ask here what to report.
    static std::vector<WriteFailure> takeWriteFailures();

    // The library's write lock, shared with other processes: a file read while it is
    // held is still as read when a write based on it replaces it. Calls nest.
    [[nodiscard]] platform::Result<void> lockWrites() { return tailWriter_.lock(); }
    void unlockWrites() { tailWriter_.unlock(); }

    // Marks the calling thread as writing message files: the index changes it makes
    // meanwhile commit with the files (or after them), so they need no intent note.
    class FileWriteScope {
    public:
        FileWriteScope();
        ~FileWriteScope();
        FileWriteScope(const FileWriteScope&) = delete;
        FileWriteScope& operator=(const FileWriteScope&) = delete;
        static bool active();
    };

private:
    // The host's implementations of the seams work on the library's save in progress.
    friend class LibrarySeams;

    Library(std::filesystem::path root, std::unique_ptr<EnvelopeIndex> index, FileLayer& files);
    std::shared_ptr<LibraryMessage> makeMessage(const Envelope& envelope);
    std::shared_ptr<LibraryMessage> makeMessage(const Envelope& envelope, const MailboxRecord& box);
    void saveFlagsInIndex(std::span<const std::pair<std::int64_t, std::uint64_t>> rows);
    // After a replayed batch: the index takes the flags the named files now hold.
    void reloadFlagsFromFiles(const std::vector<std::string>& paths);
    // Saves the named files' messages again, which makes the write hooks bring their
    // metadata in line with what the files hold (they are rewritten only if they differ).
    void bringIndexInStep(const std::vector<std::string>& paths);
    // Where the message's file is: its usual place, else one of the other places the
    // client keeps it (beside its attachments, or in the sharded layout).
    std::string fileOf(LibraryMessage& message) const;
    void reportNotSaved(std::vector<WriteFailure> failures);

    // Tail writes collected while updateMessageFiles runs, committed as one batch.
    struct Batch {
        std::vector<TailWrite> writes;
        // The row and flag word each of `writes` saves, for the index.
        std::vector<std::pair<std::int64_t, std::uint64_t>> writeFlags;
        // path -> the file as read for this batch; the write hook compares the body
        // it is given with these bytes to know the tail alone changes.
        std::unordered_map<std::string, EmlxFile> files;
        // The flag word of the message being saved: the merge of this process's change
        // with the flags the file holds now.
        std::uint64_t flags = 0;
    };

    LibraryLayout layout_;
    std::unique_ptr<EnvelopeIndex> index_;
    std::unique_ptr<platform::spotlight::MetadataStore> metadata_;
    LibraryIndexer indexer_{*this};
    // Open while a BulkAdd is: the import's index entries commit with its envelopes.
    std::unique_ptr<platform::spotlight::MetadataStore::Transaction> metadataBatch_;
    TailWriter tailWriter_;
    IndexIntentLog intentLog_;
    std::mutex changedMutex_;
    std::map<std::int64_t, std::shared_ptr<Message>> changed_;
    Batch* batch_ = nullptr;  // only while updateMessageFiles runs
    bool deferFlush_ = false; // while a BulkAdd is open
    std::mutex updateMutex_;
};

} // namespace mailhost
