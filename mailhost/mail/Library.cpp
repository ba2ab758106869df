#include "mailhost/mail/Library.h"

#include "mailhost/library/EmlxFile.h"
#include "mailhost/library/MailboxName.h"
#include "mailhost/library/WriteJournal.h"
#include "mailhost/mail/LibrarySeams.h"
#include "mailhost/mail/MessageEnvelope.h"
#include "platform/foundation/AtomicFile.h"
#include "platform/foundation/IgnoreError.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/PrivateFolder.h"
#include "platform/foundation/Value.h"

#include <atomic>
#include <mutex>
#include <set>
#include <utility>

namespace mailhost {

namespace fs = std::filesystem;
using platform::Dictionary;
using platform::Result;
using platform::Value;

namespace {

std::atomic<Library*> currentLibrary{nullptr};

// Integral dates as the client writes them: whole Unix seconds.
Value unixSeconds(double sinceReference) {
    return Value(static_cast<long long>(platform::Date{sinceReference}.unixSeconds()));
}

} // namespace

Class& Library::registerClass() {
    return LibrarySeams::define();
}

Library::Library(fs::path root, std::unique_ptr<EnvelopeIndex> index, FileLayer& files)
    : layout_(root), index_(std::move(index)), tailWriter_(root, files), intentLog_(root) {}

Library::~Library() {
    Library* self = this;
    currentLibrary.compare_exchange_strong(self, nullptr);
}

Library* Library::current() {
    return currentLibrary.load();
}

Result<std::unique_ptr<Library>> Library::open(const fs::path& root, bool create, bool withStandardMailboxes,
                                               FileLayer& files) {
    registerClass();
    std::error_code ec;
    const LibraryLayout layout(root);
    const bool exists = fs::exists(layout.envelopeIndexPath(), ec);
    if (!exists && !create)
        return platform::makeError("no mail library at " + root.string() +
                                   " (run 'lumetta init' to make one)");
    // Mail is private: folders made for the library are its owner's alone.
    LUMETTA_TRY_VOID(platform::PrivateFolder::create(root));
    // A batch of tail writes that a crash interrupted is finished before anything reads.
    auto replay = WriteJournal::replay(root, files);
    if (!replay)
        return platform::makeError("cannot finish the interrupted write in " + root.string() + ": " +
                                   replay.error().message);
    auto index = LUMETTA_TRY(EnvelopeIndex::open(layout.envelopeIndexPath()));
    std::unique_ptr<Library> library(new Library(root, std::move(index), files));
    library->reloadFlagsFromFiles(replay.value().paths);
    // Searching is a convenience over the files: a library whose metadata index cannot be
    // opened still reads and writes mail.
    if (auto metadata = platform::spotlight::MetadataStore::open(root)) {
        library->metadata_ = std::move(metadata.value());
        platform::spotlight::MetadataStore::setCurrent(library->metadata_.get());
        library->metadata_->setAttributeWriteObserver([log = &library->intentLog_](std::string_view path) {
            if (!FileWriteScope::active())
                log->note(path);
        });
    } else {
        platform::Log::line("The metadata index of " + root.string() +
                            " cannot be opened; searches will find nothing: " + metadata.error().message);
    }
    if (create && withStandardMailboxes)
        for (const auto& name : kStandardMailboxes)
            LUMETTA_TRY_VOID(library->createMailbox(name));
    currentLibrary.store(library.get());
    // Files whose index entries may differ from them: those the replayed batch wrote,
    // and those a process that ended mid-change had mirrored ahead of their files.
    if (library->metadata_) {
        auto orphans = IndexIntentLog::orphans(root);
        std::vector<std::string> unsettled = replay.value().paths;
        unsettled.insert(unsettled.end(), orphans.paths().begin(), orphans.paths().end());
        library->bringIndexInStep(unsettled);
        orphans.discard();
    }
    return library;
}

void Library::bringIndexInStep(const std::vector<std::string>& paths) {
    MessageList messages;
    std::set<std::int64_t> seen;
    for (const std::string& path : paths)
        if (auto where = layout_.locate(path); where && seen.insert(where->rowid).second)
            if (auto message = this->message(where->rowid))
                messages.push_back(std::move(message));
    if (messages.empty())
        return;
    platform::Log::line("Metadata index: bringing " + std::to_string(messages.size()) +
                        " messages in step with their files after an interrupted change");
    markChanged(messages);
    if (auto written = writeChangedMessages(); !written)
        platform::Log::line("Metadata index: " + written.error().message);
}

Result<MailboxRecord> Library::createMailbox(const std::string& name) {
    LUMETTA_TRY_VOID(MailboxName::check(name));
    if (auto made = platform::PrivateFolder::create(layout_.mailboxFolder(name) / "Messages"); !made)
        return platform::makeError("cannot create mailbox " + name + ": " + made.error().message,
                                   made.error().code);
    return index_->addMailbox(name);
}

std::shared_ptr<LibraryMessage> Library::makeMessage(const Envelope& envelope) {
    auto box = index_->mailbox(envelope.mailbox);
    return box ? makeMessage(envelope, *box) : nullptr;
}

std::shared_ptr<LibraryMessage> Library::makeMessage(const Envelope& envelope, const MailboxRecord& box) {
    Class& cls = LibraryMessage::registerClass();
    std::unique_ptr<Object> object = cls.createInstance();
    auto* message = dynamic_cast<LibraryMessage*>(object.get());
    if (!message)
        return nullptr;
    object.release();
    std::shared_ptr<LibraryMessage> shared(message);
    shared->bind(this, envelope, box.name, box.sharded);
    return shared;
}

std::shared_ptr<LibraryMessage> Library::message(std::int64_t rowid) {
    auto envelope = index_->message(rowid);
    return envelope ? makeMessage(*envelope) : nullptr;
}

MessageList Library::messagesInMailbox(const std::string& mailbox) {
    MessageList out;
    auto box = index_->mailboxNamed(mailbox);
    if (!box)
        return out;
    for (const auto& envelope : index_->messagesInMailbox(box->id))
        if (auto m = makeMessage(envelope, *box))
            out.push_back(std::move(m));
    return out;
}

std::unordered_map<std::int64_t, std::string> Library::messagePaths(std::span<const std::int64_t> rowids) {
    // Each mailbox's folder is worked out once; a path object per file would cost more than
    // the query.
    std::unordered_map<std::int64_t, std::pair<MailboxRecord, std::string>> boxes;
    for (auto& box : index_->mailboxes()) {
        std::string folder = layout_.mailboxFolder(box.name).native() + "/Messages/";
        boxes.emplace(box.id, std::pair(std::move(box), std::move(folder)));
    }
    std::unordered_map<std::int64_t, std::string> out;
    out.reserve(rowids.size());
    for (const MessagePlace& place : index_->places(rowids)) {
        const auto box = boxes.find(place.mailbox);
        if (box == boxes.end())
            continue;
        const auto& [record, folder] = box->second;
        if (record.sharded) {
            out.emplace(place.rowid,
                        layout_.messagePath(record.name, place.rowid, true, place.partial).native());
            continue;
        }
        std::string path = folder;
        path += std::to_string(place.rowid);
        path += place.partial ? ".partial.emlx" : ".emlx";
        out.emplace(place.rowid, std::move(path));
    }
    return out;
}

std::vector<std::shared_ptr<LibraryMessage>> Library::messages(std::span<const std::int64_t> rowids) {
    std::unordered_map<std::int64_t, MailboxRecord> boxes;
    for (auto& box : index_->mailboxes())
        boxes.emplace(box.id, std::move(box));
    std::vector<std::shared_ptr<LibraryMessage>> out;
    for (const Envelope& envelope : index_->messages(rowids))
        if (auto box = boxes.find(envelope.mailbox); box != boxes.end())
            if (auto m = makeMessage(envelope, box->second))
                out.push_back(std::move(m));
    return out;
}

Result<std::shared_ptr<LibraryMessage>> Library::addMessage(const std::string& mailbox,
                                                            std::string_view source, std::uint64_t flags,
                                                            double dateReceived,
                                                            const Dictionary& properties) {
    // Message files hold LF line ends, whatever the source had.
    std::string bytes;
    bytes.reserve(source.size());
    for (std::size_t i = 0; i < source.size(); ++i)
        if (!(source[i] == '\r' && i + 1 < source.size() && source[i + 1] == '\n'))
            bytes += source[i];
    if (!bytes.empty() && bytes.back() != '\n')
        bytes += '\n';
    auto box = index_->mailboxNamed(mailbox);
    if (!box)
        return platform::makeError("no mailbox named \"" + mailbox + "\"");
    Envelope envelope;
    envelope.mailbox = box->id;
    envelope.flags = flags;
    envelope.dateReceived = dateReceived;
    MessageEnvelope::addHeaders(envelope, bytes);
    envelope.rowid = LUMETTA_TRY(index_->insert(envelope));
    auto message = makeMessage(envelope, *box);
    Dictionary plist = properties.mutableCopy();
    plist.set("date-received", unixSeconds(dateReceived));
    const std::string plistBytes = (*LibrarySeams::table().plistData)(
        LibrarySeams::table().cls, message.get(), envelope.subject, envelope.sender, envelope.recipients,
        envelope.dateSent, std::string(), std::string(), flags, plist);
    const std::string path = message->path().string();
    platform::ignoreError(platform::PrivateFolder::create(message->path().parent_path()),
                          "message folder: a missing folder fails the write below, which is reported");
    FileWriteScope writing;
    if (plistBytes.empty() || !(*LibrarySeams::table().writeWithBody)(LibrarySeams::table().cls, path,
                                                                      message.get(), bytes, plistBytes)) {
        platform::ignoreError(index_->remove(envelope.rowid),
                              "index entry of a message not written: a rebuild drops a stale row");
        return platform::makeError("cannot write " + path);
    }
    return message;
}

Library::BulkAdd::BulkAdd(Library& library) : library_(library) {
    open_ = library_.index_->begin().ok();
    library_.deferFlush_ = open_;
    if (open_ && library_.metadata_)
        library_.metadataBatch_ =
            std::make_unique<platform::spotlight::MetadataStore::Transaction>(*library_.metadata_);
}

Library::BulkAdd::~BulkAdd() {
    if (open_) {
        library_.metadataBatch_.reset();
        platform::ignoreError(library_.index_->rollback(), "envelope index batch never committed");
        library_.deferFlush_ = false;
    }
}

Result<void> Library::BulkAdd::commit() {
    if (!open_)
        return platform::makeError("the batch could not be started");
    open_ = false;
    library_.deferFlush_ = false;
    // Files first: the index must never name a message whose file could still be lost.
    if (auto synced = platform::AtomicFile::syncFileSystem(library_.layout_.root()); !synced) {
        library_.metadataBatch_.reset();
        platform::ignoreError(library_.index_->rollback(),
                              "envelope index rollback after a failed sync, whose error is passed on");
        return synced;
    }
    if (auto committed = library_.index_->commit(); !committed) {
        library_.metadataBatch_.reset();
        return committed;
    }
    // The metadata index follows the envelopes: should its commit fail, the messages are
    // stored and only their search entries are missing until the next reindex.
    if (library_.metadataBatch_) {
        if (auto indexed = library_.metadataBatch_->commit(); !indexed)
            platform::Log::line("Could not save the metadata index: " + indexed.error().message);
        library_.metadataBatch_.reset();
    }
    return {};
}

// ---- class methods through their seams ----

std::string Library::dataPathForMessage(Message* message) {
    return (*LibrarySeams::table().dataPath)(LibrarySeams::table().cls, message);
}

std::string Library::dataPathForMessage(Message* message, int type) {
    return (*LibrarySeams::table().dataPathType)(LibrarySeams::table().cls, message, type);
}

std::shared_ptr<LibraryMessage> Library::messageWithLibraryID(Class* cls, std::int64_t rowid) {
    return (*LibrarySeams::table().messageWithLibraryID)(cls ? cls : LibrarySeams::table().cls, rowid);
}

void Library::flagsChangedForMessages(const MessageList& messages) {
    (*LibrarySeams::table().flagsChanged)(LibrarySeams::table().cls, messages, Dictionary(), Dictionary());
}

void Library::updateMessageFiles(Class* cls) {
    (*LibrarySeams::table().updateMessageFiles)(cls ? cls : LibrarySeams::table().cls);
}

std::optional<DuplicateMap> Library::duplicateMessages(const MessageList& messages,
                                                       const std::string& mailbox, std::uint64_t setFlags,
                                                       std::uint64_t clearFlags) {
    return (*LibrarySeams::table().duplicate)(LibrarySeams::table().cls, messages, {}, mailbox, setFlags,
                                              clearFlags, true);
}

void Library::markChanged(const MessageList& messages) {
    {
        std::lock_guard lock(changedMutex_);
        for (const auto& m : messages)
            if (auto* stored = dynamic_cast<LibraryMessage*>(m.get()))
                changed_[stored->libraryID()] = m;
    }
    platform::NotificationCenter::defaultCenter().post(kFlagsChangedNotification, this);
}

namespace {

std::mutex failuresMutex;
std::vector<Library::WriteFailure>& failureList() {
    static std::vector<Library::WriteFailure> failures;
    return failures;
}

thread_local int fileWriteDepth = 0;

// The flag word to save: the bits this process changed since it read the message, over
// the word the file holds now, which another process may have changed meanwhile.
std::uint64_t mergedFlags(std::uint64_t asRead, std::uint64_t ours, const EmlxFile& file) {
    const Value& inFile = file.plist().get("flags");
    const std::uint64_t theirs = inFile.isNull() ? asRead : inFile.unsignedValue();
    const std::uint64_t changed = asRead ^ ours;
    return (theirs & ~changed) | (ours & changed);
}

} // namespace

Library::FileWriteScope::FileWriteScope() {
    ++fileWriteDepth;
}

Library::FileWriteScope::~FileWriteScope() {
    --fileWriteDepth;
}

bool Library::FileWriteScope::active() {
    return fileWriteDepth > 0;
}

std::vector<Library::WriteFailure> Library::takeWriteFailures() {
    std::lock_guard guard(failuresMutex);
    return std::exchange(failureList(), {});
}

void Library::reportNotSaved(std::vector<WriteFailure> failures) {
    if (failures.empty())
        return;
    platform::Array rows;
    for (const WriteFailure& f : failures) {
        platform::Log::line("Could not save " + f.path + ": " + f.reason);
        rows.add(Value(static_cast<long long>(f.rowid)));
    }
    {
        std::lock_guard guard(failuresMutex);
        auto& list = failureList();
        list.insert(list.end(), std::make_move_iterator(failures.begin()),
                    std::make_move_iterator(failures.end()));
    }
    platform::NotificationCenter::defaultCenter().post(kMessagesNotSavedNotification, this,
                                                       Dictionary{{"libraryIDs", Value(rows)}});
}

std::string Library::fileOf(LibraryMessage& message) const {
    const std::string path = dataPathForMessage(&message);
    std::error_code ec;
    if (fs::exists(fs::symlink_status(path, ec)))
        return path;
    for (int type = 1; type <= 2; ++type) {
        const std::string other = dataPathForMessage(&message, type);
        if (!other.empty() && fs::exists(fs::symlink_status(other, ec)))
            return other;
    }
    return path;
}

Result<std::size_t> Library::writeChangedMessages() {
    std::lock_guard updating(updateMutex_);
    std::map<std::int64_t, std::shared_ptr<Message>> pending;
    {
        std::lock_guard lock(changedMutex_);
        pending.swap(changed_);
    }
    if (pending.empty())
        return std::size_t{0};
    std::vector<WriteFailure> failures;
    // Every file is read under the library's write lock and written before it is let
    // go: a property list built from a file that another process changed in between
    // would drop that process's change.
    if (auto locked = lockWrites(); !locked) {
        for (const auto& [rowid, message] : pending)
            failures.push_back(
                {rowid, static_cast<LibraryMessage&>(*message).path().string(), locked.error().message});
        reportNotSaved(std::move(failures));
        return locked.error();
    }
    FileWriteScope writing;
    Batch batch;
    batch_ = &batch;
    // The write hooks bring each file's metadata in line as it is written; one index
    // transaction takes all of it, and commits only once the journal holds the batch, so
    // that the index never shows what a crash could still take from the files. Lock
    // order: the update lock, the write lock, then the index.
    std::optional<platform::spotlight::MetadataStore::Transaction> metadataBatch;
    if (metadata_)
        metadataBatch.emplace(*metadata_);
    auto commitIndex = [&] {
        if (!metadataBatch)
            return;
        if (auto indexed = metadataBatch->commit(); !indexed)
            platform::Log::line("Could not save the metadata index: " + indexed.error().message);
        metadataBatch.reset();
    };
    std::vector<std::pair<std::int64_t, std::uint64_t>> newFlags;
    // The files whose index entries follow them once this save is done, and for each
    // queued tail write the message it saves.
    std::vector<std::string> inStep;
    struct Queued {
        std::size_t write;
        std::int64_t rowid;
        std::string path;
        LibraryMessage* message;
        std::uint64_t flags;
    };
    std::vector<Queued> queued;
    // What the message object takes as its flags once they are in the file: they are
    // what the next save compares its own changes with.
    auto saved = [](LibraryMessage& message, std::uint64_t flags) {
        if (message.envelope_.flags != flags)
            message.envelope_.flags = flags;
        if (message.flags() != flags)
            message.setFlags(flags);
    };
    for (const auto& [rowid, message] : pending) {
        auto* stored = static_cast<LibraryMessage*>(message.get());
        const std::string path = fileOf(*stored);
        auto file = EmlxFile::read(path);
        if (!file || file.value().refusesWrites()) {
            failures.push_back({rowid, path, file ? file.value().problem() : file.error().message});
            continue;
        }
        // A file the client moved to one of its other places is searched for where it is.
        if (metadata_ && path != stored->path().string() && !metadata_->hasItem(path)) {
            indexer_.indexMessageFile(path, file.value().messageBytes(), stored->mailboxName(),
                                      stored->envelope().dateReceived);
            indexer_.forgetMessageFile(stored->path().string());
        }
        Envelope e = stored->envelope();
        batch.flags = e.flags = mergedFlags(e.flags, stored->flags(), file.value());
        const EmlxFile& read = batch.files.insert_or_assign(path, std::move(file).value()).first->second;
        const std::string plist = (*LibrarySeams::table().plistData)(
            LibrarySeams::table().cls, stored, e.subject, e.sender, e.recipients, e.dateSent, e.remoteID,
            std::string(), e.flags, read.plist().mutableCopy());
        if (plist.empty()) {
            failures.push_back({rowid, path, "its property list could not be made"});
            continue;
        }
        const std::size_t before = batch.writes.size();
        if (!(*LibrarySeams::table().writeWithBody)(LibrarySeams::table().cls, path, stored,
                                                    read.messageBytes(), plist)) {
            failures.push_back({rowid, path, "it could not be written"});
            continue;
        }
        if (batch.writes.size() == before) {
            // Already as it should be, or written whole: done.
            newFlags.emplace_back(e.rowid, e.flags);
            inStep.push_back(path);
            saved(*stored, e.flags);
        } else {
            queued.push_back({before, rowid, path, stored, e.flags});
        }
    }
    batch_ = nullptr;
    // Messages saved whole (their bytes changed) or unchanged are in place; the flags
    // and metadata of tail writes go into the indexes once the journal holds the batch:
    // a crash before that loses both, one after it is completed from the journal, and
    // opening the library then re-reads what the files it names hold.
    saveFlagsInIndex(newFlags);
    std::size_t written = 0;
    if (batch.writes.empty()) {
        commitIndex();
    } else {
        auto result = tailWriter_.write(batch.writes, [&](const std::vector<std::size_t>& entries) {
            std::vector<std::pair<std::int64_t, std::uint64_t>> rows;
            rows.reserve(entries.size());
            for (std::size_t entry : entries)
                rows.push_back(batch.writeFlags[entry]);
            saveFlagsInIndex(rows);
            commitIndex();
        });
        if (!result) {
            for (const Queued& q : queued)
                failures.push_back({q.rowid, q.path, result.error().message});
        } else {
            for (const Queued& q : queued) {
                const TailWriter::FileResult& outcome = result.value().files.at(q.write);
                if (outcome.outcome == TailWriter::Outcome::Written) {
                    ++written;
                    inStep.push_back(q.path);
                    saved(*q.message, q.flags);
                } else {
                    failures.push_back({q.rowid, q.path, outcome.error.message});
                }
            }
        }
    }
    // An index batch the journal never took is dropped with it.
    metadataBatch.reset();
    unlockWrites();
    intentLog_.settle(inStep);
    const bool allSaved = failures.empty();
    reportNotSaved(std::move(failures));
    if (!allSaved && written == 0 && inStep.empty())
        return platform::makeError("no message file was saved");
    return written;
}

void Library::reloadFlagsFromFiles(const std::vector<std::string>& paths) {
    std::vector<std::pair<std::int64_t, std::uint64_t>> rows;
    for (const std::string& path : paths) {
        auto where = layout_.locate(path);
        if (!where)
            continue;
        auto file = EmlxFile::read(path);
        if (!file || !file.value().ok() || !file.value().plist().contains("flags"))
            continue;
        rows.emplace_back(where->rowid, file.value().plist().get("flags").unsignedValue());
    }
    saveFlagsInIndex(rows);
}

void Library::saveFlagsInIndex(std::span<const std::pair<std::int64_t, std::uint64_t>> rows) {
    if (rows.empty())
        return;
    if (auto indexed = index_->updateFlags(rows); !indexed)
        platform::Log::line("Could not save flags in the index: " + indexed.error().message);
}

} // namespace mailhost
