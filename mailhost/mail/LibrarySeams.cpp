#include "mailhost/mail/LibrarySeams.h"

#include "mailhost/library/EmlxFile.h"
#include "platform/foundation/AtomicFile.h"
#include "platform/foundation/IgnoreError.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/PropertyList.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Runtime.h"

namespace mailhost {

namespace fs = std::filesystem;
using platform::Dictionary;
using platform::Value;
using platform::runtime::Runtime;

namespace {

template <class Signature>
Seam<Signature>* classSeam(Class& cls, const char* selector, typename Seam<Signature>::Imp imp) {
    return new Seam<Signature>(cls, selector, imp, Seam<Signature>::Kind::ClassMethod);
}

// Integral dates as the client writes them: whole Unix seconds.
Value unixSeconds(double sinceReference) {
    return Value(static_cast<long long>(platform::Date{sinceReference}.unixSeconds()));
}

} // namespace

LibrarySeams::Table& LibrarySeams::mutableTable() {
    static Table t;
    return t;
}

const LibrarySeams::Table& LibrarySeams::table() {
    return mutableTable();
}

Class& LibrarySeams::define() {
    Table& s = mutableTable();
    Class& cls = Runtime::defineClass(Library::kClassName);
    if (s.cls)
        return cls;
    s.cls = &cls;
    s.dataPath = classSeam<std::string(Class*, Message*)>(cls, "dataPathForMessage:", &dataPathForMessage);
    s.dataPathType = classSeam<std::string(Class*, Message*, int)>(
        cls, "dataPathForMessage:type:", &dataPathForMessageType);
    s.messageWithLibraryID = classSeam<std::shared_ptr<LibraryMessage>(Class*, std::int64_t)>(
        cls, "messageWithLibraryID:", &messageWithLibraryID);
    s.flagsChanged = classSeam<void(Class*, MessageList, Dictionary, Dictionary)>(
        cls, "flagsChangedForMessages:flags:oldFlagsByMessage:", &flagsChanged);
    s.updateMessageFiles = classSeam<void(Class*)>(cls, "updateMessageFiles", &updateMessageFiles);
    s.plistData = classSeam<std::string(Class*, Message*, std::string, std::string, std::string, double,
                                        std::string, std::string, std::uint64_t, Dictionary)>(
        cls,
        "plistDataForMessage:subject:sender:to:dateSent:remoteID:originalMailbox:flags:mergeWithDictionary:",
        &plistData);
    s.writeWithBody = classSeam<bool(Class*, std::string, Message*, std::string_view, std::string)>(
        cls, "_writeEmlxFile:forMessage:withBodyData:plistData:", &writeEmlxWithBody);
    s.writeWithData = classSeam<bool(Class*, std::string, Message*, std::string_view)>(
        cls, "_writeEmlxFile:forMessage:withEmlxData:", &writeEmlxWithData);
    s.updateFile = classSeam<void(Class*, Message*)>(cls, "updateFileForMessage:", &updateFileForMessage);
    s.duplicate = classSeam<std::optional<DuplicateMap>(Class*, MessageList, std::vector<std::string>,
                                                        std::string, std::uint64_t, std::uint64_t, bool)>(
        cls, "duplicateMessages:newRemoteIDs:forMailbox:setFlags:clearFlags:createNewCacheFiles:",
        &duplicateMessages);
    return cls;
}

std::string LibrarySeams::dataPathForMessage(Class*, Sel, Message* message) {
    auto* stored = dynamic_cast<LibraryMessage*>(message);
    return stored ? stored->path().string() : std::string();
}

std::string LibrarySeams::dataPathForMessageType(Class*, Sel, Message* message, int type) {
    auto* stored = dynamic_cast<LibraryMessage*>(message);
    Library* library = Library::current();
    if (!stored || !library)
        return {};
    const auto& e = stored->envelope();
    switch (type) {
    case 1:
        return library->layout()
            .messagePath(stored->mailboxName(), e.rowid, stored->sharded(), true)
            .string();
    case 2:
        return library->layout().messagePath(stored->mailboxName(), e.rowid, true, e.partial).string();
    default:
        return stored->path().string();
    }
}

std::shared_ptr<LibraryMessage> LibrarySeams::messageWithLibraryID(Class*, Sel, std::int64_t rowid) {
    Library* library = Library::current();
    return library ? library->message(rowid) : nullptr;
}

void LibrarySeams::flagsChanged(Class*, Sel, MessageList messages, Dictionary, Dictionary) {
    if (Library* library = Library::current())
        library->markChanged(messages);
}

void LibrarySeams::updateMessageFiles(Class*, Sel) {
    if (Library* library = Library::current())
        if (auto written = library->writeChangedMessages(); !written)
            platform::Log::line("Could not save messages: " + written.error().message);
}

std::string LibrarySeams::plistData(Class*, Sel, Message*, std::string, std::string, std::string,
                                    double dateSent, std::string remoteID, std::string originalMailbox,
                                    std::uint64_t flags, Dictionary merge) {
    // The index holds subject, sender and recipients; the file keeps the client's
    // own keys as they are, with the current flag word.
    Dictionary plist = merge.mutableCopy();
    plist.set("flags", Value::unsignedInteger(flags));
    if (!remoteID.empty() && !plist.contains("remote-id"))
        plist.set("remote-id", remoteID);
    if (!originalMailbox.empty() && !plist.contains("original-mailbox"))
        plist.set("original-mailbox", originalMailbox);
    if (dateSent != 0 && !plist.contains("date-sent"))
        plist.set("date-sent", unixSeconds(dateSent));
    return platform::PropertyList::xml(plist).valueOr(std::string());
}

bool LibrarySeams::writeEmlxWithBody(Class*, Sel, std::string path, Message* message, std::string_view body,
                                     std::string plistData) {
    Library* library = Library::current();
    // The message bytes are those already in the file: only the tail changes, in
    // place, with the rest of the batch.
    if (library && library->batch_) {
        auto read = library->batch_->files.find(path);
        auto* stored = dynamic_cast<LibraryMessage*>(message);
        if (stored && read != library->batch_->files.end() && read->second.messageBytes() == body) {
            const EmlxFile& file = read->second;
            // Nothing to write when the file already holds this property list: a save
            // that changes nothing must not cost a write, nor touch the file.
            if (file.ok() && file.rawTail() == plistData)
                return true;
            auto site = TailSite::ofBytes(file.bytes(), file.tailOffset(), TailWriter::kKeepOldTail);
            library->batch_->writes.push_back(
                {path, file.tailOffset(), std::move(plistData),
                 site ? std::optional<TailSite>(std::move(site).value()) : std::nullopt});
            library->batch_->writeFlags.emplace_back(stored->libraryID(), library->batch_->flags);
            return true;
        }
    }
    const std::string count = std::to_string(body.size());
    std::string whole = count + std::string(count.size() < 10 ? 10 - count.size() : 0, ' ') + "\n";
    whole.append(body);
    whole += plistData;
    return (*table().writeWithData)(table().cls, path, message, whole);
}

bool LibrarySeams::writeEmlxWithData(Class*, Sel, std::string path, Message* message,
                                     std::string_view emlxData) {
    Library* library = Library::current();
    const bool flush = !(library && library->deferFlush_);
    // A link in a message file's place is left alone rather than replaced: the message
    // it stands for is not where the library expects it.
    std::error_code ec;
    if (fs::is_symlink(fs::symlink_status(path, ec))) {
        platform::Log::line("Could not write " + path +
                            ": it is a symbolic link, which is never followed here");
        return false;
    }
    if (auto r = platform::AtomicFile::write(path, emlxData, flush); !r) {
        platform::Log::line("Could not write " + path + ": " + r.error().message);
        return false;
    }
    // A whole file was written, so its message may be new or changed: index it now, so
    // that whoever adds attributes after the write (the tags) finds the item.
    auto* stored = dynamic_cast<LibraryMessage*>(message);
    if (library && stored) {
        auto count = EmlxFile::parseCountLine(emlxData.substr(0, EmlxFile::kMaxCountLine));
        if (count && count.value().length + count.value().count <= emlxData.size())
            library->indexer().indexMessageFile(path,
                                                emlxData.substr(count.value().length, count.value().count),
                                                stored->mailboxName(), stored->envelope().dateReceived);
    }
    return true;
}

void LibrarySeams::updateFileForMessage(Class*, Sel, Message* message) {
    Library* library = Library::current();
    auto* stored = dynamic_cast<LibraryMessage*>(message);
    if (!library || !stored)
        return;
    library->markChanged({library->message(stored->libraryID())});
    platform::ignoreError(library->writeChangedMessages(),
                          "each message not saved is reported to the user by the save itself");
}

std::optional<DuplicateMap> LibrarySeams::duplicateMessages(Class*, Sel, MessageList messages,
                                                            std::vector<std::string> newRemoteIDs,
                                                            std::string mailbox, std::uint64_t setFlags,
                                                            std::uint64_t clearFlags, bool) {
    Library* library = Library::current();
    if (!library)
        return std::nullopt;
    DuplicateMap copies;
    for (std::size_t i = 0; i < messages.size(); ++i) {
        auto* source = dynamic_cast<LibraryMessage*>(messages[i].get());
        if (!source)
            continue;
        auto file = EmlxFile::read(source->path());
        if (!file) {
            platform::Log::line("Could not copy message " + source->messageID() + ": " +
                                file.error().message);
            continue;
        }
        const std::uint64_t flags = (source->flags() | setFlags) & ~clearFlags;
        auto copy =
            library->addMessage(mailbox, file.value().messageBytes(), flags, source->envelope().dateReceived);
        if (!copy) {
            platform::Log::line("Could not copy message " + source->messageID() + ": " +
                                copy.error().message);
            continue;
        }
        if (i < newRemoteIDs.size() && !newRemoteIDs[i].empty()) {
            Envelope e = copy.value()->envelope();
            e.remoteID = newRemoteIDs[i];
            platform::ignoreError(library->index().update(e),
                                  "server id of a copy: the copy stands without it");
        }
        copies.emplace_back(messages[i], copy.value());
    }
    if (copies.empty())
        return std::nullopt;
    return copies;
}

} // namespace mailhost
