#include "lumetta/store/LibraryTagPersistence.h"

#include "lumetta/core/DebugLogging.h"
#include "lumetta/core/MethodReplacement.h"
#include "lumetta/store/EmlxTailReader.h"
#include "lumetta/store/LibraryMessageTagAccess.h"
#include "lumetta/store/MessageTags.h"
#include "lumetta/store/TagKeys.h"
#include "lumetta/store/TagRecord.h"
#include "mailhost/mail/LibraryMessage.h"
#include "mailhost/mail/OutgoingMessage.h"
#include "mailhost/mail/RecoveredMessage.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/PropertyList.h"
#include "platform/foundation/RunLoop.h"
#include "platform/runtime/Send.h"

#include <unordered_map>

namespace lumetta {

using mailhost::Library;
using mailhost::LibraryMessage;
using mailhost::Message;
using mailhost::RecoveredMessage;
using platform::Dictionary;
using platform::Value;

namespace {

using PlistDataImp = std::string (*)(platform::runtime::Class*, platform::runtime::Sel, Message*, std::string,
                                     std::string, std::string, double, std::string, std::string,
                                     std::uint64_t, Dictionary);
using WriteWithBodyImp = bool (*)(platform::runtime::Class*, platform::runtime::Sel, std::string, Message*,
                                  std::string_view, std::string);
using WriteWithDataImp = bool (*)(platform::runtime::Class*, platform::runtime::Sel, std::string, Message*,
                                  std::string_view);
using DuplicateImp = std::optional<mailhost::DuplicateMap> (*)(platform::runtime::Class*,
                                                               platform::runtime::Sel, mailhost::MessageList,
                                                               std::vector<std::string>, std::string,
                                                               std::uint64_t, std::uint64_t, bool);
using UpdateFileImp = void (*)(platform::runtime::Class*, platform::runtime::Sel, Message*);

PlistDataImp savedPlistData = nullptr;
WriteWithBodyImp savedWriteWithBody = nullptr;
WriteWithDataImp savedWriteWithData = nullptr;
DuplicateImp savedDuplicate = nullptr;
UpdateFileImp savedUpdateFile = nullptr;

constexpr const char* kSpotlightSelector = "lumettaUpdateSpotlightForDictionary:andMessage:atEmlxPath:";

// Looked up once: the class tree is fixed by the time the plug-in loads.
platform::runtime::Class* storedClass = nullptr;
platform::runtime::Class* looseClass = nullptr;

bool isStored(const Message* message) {
    return message && message->isKindOfClass(storedClass);
}

bool isLoose(const Message* message) {
    return message && message->isKindOfClass(looseClass);
}

void updateSpotlight(const Dictionary& tags, Message* message, const std::string& path) {
    if (platform::runtime::Class* library = platform::runtime::Runtime::classNamed(Library::kClassName))
        platform::runtime::sendClassVoid(*library, kSpotlightSelector, tags, message, path);
}

// A linked to-do follows its message: the host just wrote the message's file here. A
// writer thread hands the change to the main thread and goes on: the main thread may be
// waiting for that very writer, and waiting for the main thread in turn would hang both.
// The calendar subsystem says how a to-do is pointed at a url; without it (a host with
// no calendar link) a write leaves the to-do as it is.
LibraryTagPersistence::ToDoURLSetter toDoURLSetter = nullptr;

void pointToDoAt(const Value& uid, const std::string& path) {
    const std::string* id = uid.string();
    if (!id || !toDoURLSetter)
        return;
    std::string url = "file://" + path;
    platform::RunLoop* loop = platform::RunLoop::main();
    if (loop && !loop->isMainThread()) {
        loop->performOnMainThread([id = *id, url = std::move(url), set = toDoURLSetter] { set(id, url); },
                                  false);
        return;
    }
    toDoURLSetter(*id, url);
}

template <class Imp>
Imp replaceLibraryMethod(platform::runtime::Class& cls, const char* host, const char* replacement, Imp imp) {
    cls.addClassMethod(replacement, imp);
    return replaceClassMethod<Imp>(host, Library::kClassName, replacement, Library::kClassName);
}

} // namespace

void LibraryTagPersistence::setToDoURLSetter(ToDoURLSetter setter) {
    toDoURLSetter = setter;
}

void LibraryTagPersistence::load() {
    storedClass = platform::runtime::Runtime::classNamed(LibraryMessage::kClassName);
    looseClass = platform::runtime::Runtime::classNamed(RecoveredMessage::kClassName);
    platform::runtime::Class* cls = platform::runtime::Runtime::classNamed(Library::kClassName);
    if (!cls)
        return;
    cls->addClassMethod("lumettaMetaDataFromEmlxFile:forMessage:", &lumettaMetaDataFromEmlxFile);
    cls->addClassMethod("lumettaMetaDataDictionaryFromEmlxFile:forMessage:",
                        &lumettaMetaDataDictionaryFromEmlxFile);
    cls->addClassMethod("lumettaWithKey:forMessage:", &lumettaWithKey);
    cls->addClassMethod("lumettaPresentForMessage:", &lumettaPresentForMessage);
    cls->addClassMethod("lumettaSetMetaDataForMessage:withValue:forKey:", &lumettaSetMetaDataForMessage);
    cls->addClassMethod("lumettaMergeActOnKeysTo:from:", &lumettaMergeActOnKeysTo);
    cls->addClassMethod("lumettaMergeMetadataTo:fromMessage:", &lumettaMergeMetadataTo);

    savedPlistData = replaceLibraryMethod(
        *cls,
        "plistDataForMessage:subject:sender:to:dateSent:remoteID:originalMailbox:flags:mergeWithDictionary:",
        "lumettaPlistDataForMessage:subject:sender:to:dateSent:remoteID:originalMailbox:flags:"
        "mergeWithDictionary:",
        &lumettaPlistDataForMessage);
    savedWriteWithBody = replaceLibraryMethod(
        *cls, "_writeEmlxFile:forMessage:withBodyData:plistData:",
        "_lumettaWriteEmlxFile:forMessage:withBodyData:plistData:", &lumettaWriteEmlxFileWithBody);
    savedWriteWithData =
        replaceLibraryMethod(*cls, "_writeEmlxFile:forMessage:withEmlxData:",
                             "_lumettaWriteEmlxFile:forMessage:withEmlxData:", &lumettaWriteEmlxFileWithData);
    savedDuplicate = replaceLibraryMethod(
        *cls, "duplicateMessages:newRemoteIDs:forMailbox:setFlags:clearFlags:createNewCacheFiles:",
        "lumettaDuplicateMessages:newRemoteIDs:forMailbox:setFlags:clearFlags:createNewCacheFiles:",
        &lumettaDuplicateMessages);
    savedUpdateFile = replaceLibraryMethod(
        *cls, "updateFileForMessage:", "lumettaUpdateFileForMessage:", &lumettaUpdateFileForMessage);
    platform::NotificationCenter::defaultCenter().addObserver(
        std::string(Library::kMessagesNotSavedNotification), nullptr, [](const platform::Notification& note) {
            std::vector<std::int64_t> rows;
            const Value ids = note.userInfo.get("libraryIDs");
            if (ids.isArray())
                for (const Value& id : ids.array()->items())
                    rows.push_back(id.intValue());
            messagesNotSaved(rows);
        });
}

std::optional<std::string> LibraryTagPersistence::lumettaMetaDataFromEmlxFile(Class*, Sel, std::string path,
                                                                              Message* message) {
    if (isStored(message))
        path = Library::dataPathForMessage(message);
    else if (!isLoose(message))
        return std::nullopt;
    if (path.empty())
        return std::nullopt;
    bool opened = false;
    auto bytes = EmlxTailReader::read(path, &opened);
    // The file may have moved to one of the host's other places for it (kept-apart
    // attachments, the sharded layout).
    for (int type = 1; !opened && type <= 2; ++type)
        bytes = EmlxTailReader::read(Library::dataPathForMessage(message, type), &opened);
    return bytes;
}

std::optional<Dictionary> LibraryTagPersistence::lumettaMetaDataDictionaryFromEmlxFile(Class* cls, Sel,
                                                                                       std::string path,
                                                                                       Message* message) {
    auto bytes = lumettaMetaDataFromEmlxFile(cls, {}, std::move(path), message);
    if (!bytes || bytes->empty())
        return std::nullopt;
    auto parsed = platform::PropertyList::parse(*bytes);
    if (!parsed || !parsed.value().isDictionary())
        return std::nullopt;
    Dictionary plist = *parsed.value().dictionary();
    // The removal set lives in memory only. One found in a file was put there by some
    // other writer; taken into a record it would remove, at the next save, tags that
    // another process puts into the file meanwhile.
    plist.remove(TagKeys::kTagsToRemove);
    return plist;
}

std::optional<Dictionary> LibraryTagPersistence::metaDataDictionary(const std::string& path,
                                                                    Message* message) {
    return lumettaMetaDataDictionaryFromEmlxFile(nullptr, {}, path, message);
}

Value LibraryTagPersistence::lumettaWithKey(Class*, Sel, std::string key, Message* message) {
    if (!isStored(message))
        return {};
    auto plist = metaDataDictionary(Library::dataPathForMessage(message), message);
    return plist ? plist->get(key) : Value();
}

bool LibraryTagPersistence::lumettaPresentForMessage(Class*, Sel, Message* message) {
    if (!isStored(message))
        return false;
    auto plist = metaDataDictionary(Library::dataPathForMessage(message), message);
    return plist && TagRecord::presentInFile(*plist);
}

bool LibraryTagPersistence::lumettaSetMetaDataForMessage(Class*, Sel, Message* message, Value value,
                                                         std::string key) {
    if (!message || !platform::runtime::respondsToSelector(message, TagSelectors::kSetExtraData))
        return false;
    MessageTags::lumettaSetExtraData(*message, std::move(value), key);
    return true;
}

void LibraryTagPersistence::lumettaMergeActOnKeysTo(Class*, Sel, std::optional<Dictionary> target,
                                                    std::optional<Dictionary> source) {
    if (!target || !source)
        return;
    if (debugLoggingLevel() > 1)
        platform::Log::line(
            platform::format("lumettaMergeMetadataTo from: %@ \n To: %@ ", {*source, *target}));
    TagRecord::mergeTagKeys(*target, *source);
}

void LibraryTagPersistence::lumettaMergeMetadataTo(Class*, Sel, std::optional<Dictionary> target,
                                                   Message* message) {
    if (!message)
        return;
    if (isStored(message))
        lumettaMergeActOnKeysTo(nullptr, {}, target,
                                metaDataDictionary(Library::dataPathForMessage(message), message));
    lumettaMergeActOnKeysTo(nullptr, {}, target, MessageTags::lumettaExtraData(*message));
}

void LibraryTagPersistence::mergeMetadata(Dictionary& target, Message& message) {
    lumettaMergeMetadataTo(nullptr, {}, target, &message);
}

void LibraryTagPersistence::mergeForSave(Dictionary& target, Message& message) {
    if (!isStored(&message)) {
        mergeMetadata(target, message);
        return;
    }
    // The host hands over the file's property list as it is now, read under the
    // library's write lock. Another process may have changed its tags since this one
    // read them: only the tags changed here go in, and the record learns the rest, so
    // that two taggers working on the same messages at once both keep their changes.
    const std::string id = message.messageID();
    auto record = MessageTags::lumettaExtraData(message);
    auto asSaved = LibraryMessageTagAccess::tagsAsSaved(id);
    if (record && asSaved) {
        TagRecord::mergeChanges(target, *record, *asSaved);
        TagRecord::takeTags(*record, TagRecord::tagKeysOnly(target));
    } else {
        mergeMetadata(target, message);
    }
    // What the file holds after this save, and the removals it carried out: those are
    // not made again over a key that another process puts back later.
    Dictionary asSavedNow = TagRecord::tagSnapshot(target);
    if (record)
        if (const auto removals = TagRecord::pendingRemovals(*record); !removals.empty()) {
            platform::Array done;
            for (const std::string& key : removals)
                done.add(key);
            asSavedNow.set(TagKeys::kTagsToRemove, done);
        }
    LibraryMessageTagAccess::setTagsAsSaved(id, std::move(asSavedNow));
}

void LibraryTagPersistence::messagesNotSaved(const std::vector<std::int64_t>& rows) {
    for (std::int64_t row : rows) {
        auto message = Library::messageWithLibraryID(nullptr, row);
        if (!message)
            continue;
        // The next save writes the record as a whole again, and the index shows what
        // the file still holds.
        LibraryMessageTagAccess::forgetTagsAsSaved(message->messageID());
        const std::string path = Library::dataPathForMessage(message.get());
        updateSpotlight(metaDataDictionary(path, message.get()).value_or(Dictionary()), message.get(), path);
    }
}

std::string LibraryTagPersistence::lumettaPlistDataForMessage(Class* cls, Sel selector, Message* message,
                                                              std::string subject, std::string sender,
                                                              std::string to, double dateSent,
                                                              std::string remoteID,
                                                              std::string originalMailbox,
                                                              std::uint64_t flags, Dictionary merge) {
    Dictionary merged = merge.mutableCopy();
    if (message && MessageTags::respondsToExtraData(*message))
        mergeForSave(merged, *message);
    // Never the host's to keep, whoever put it there and whatever kind of message this
    // is: a removal set in a file would be taken for a list of tags to remove.
    merged.remove(TagKeys::kTagsToRemove);
    return savedPlistData(cls, selector, message, std::move(subject), std::move(sender), std::move(to),
                          dateSent, std::move(remoteID), std::move(originalMailbox), flags, merged);
}

bool LibraryTagPersistence::lumettaWriteEmlxFileWithBody(Class* cls, Sel selector, std::string path,
                                                         Message* message, std::string_view body,
                                                         std::string plistData) {
    // What the index and a linked to-do learn after the write: the property list being
    // written. For a stored message this is also what its file holds once the write is
    // done; reading the file here instead would see the tags as they were before this
    // very change (the library writes a batch's files only after every message of it
    // has passed through here) and put the index one change behind the files.
    Dictionary chosen;
    if (message && (message->isKindOfClass(mailhost::OutgoingMessage::kClassName) ||
                    message->isKindOfClass("POPMessage") || message->isKindOfClass("IMAPMessage") ||
                    isLoose(message) || isStored(message))) {
        if (auto parsed = platform::PropertyList::parse(plistData); parsed && parsed.value().isDictionary())
            chosen = *parsed.value().dictionary();
    }
    const bool written = savedWriteWithBody(cls, selector, path, message, body, std::move(plistData));
    if (chosen.contains(TagKeys::kICalUID))
        pointToDoAt(chosen.get(TagKeys::kICalUID), path);
    updateSpotlight(chosen, message, path);
    return written;
}

bool LibraryTagPersistence::lumettaWriteEmlxFileWithData(Class* cls, Sel selector, std::string path,
                                                         Message* message, std::string_view emlxData) {
    if (!savedWriteWithData(cls, selector, path, message, emlxData))
        return false;
    if (!message || !platform::runtime::respondsToSelector(message, TagSelectors::kExtraDataForKey))
        return true;
    const Value uid = MessageTags::lumettaExtraDataForKey(*message, TagKeys::kICalUID);
    if (!uid.isNull())
        pointToDoAt(uid, path);
    updateSpotlight(MessageTags::lumettaExtraData(*message).value_or(Dictionary()), message, path);
    return true;
}

std::optional<mailhost::DuplicateMap> LibraryTagPersistence::lumettaDuplicateMessages(
    Class* cls, Sel selector, mailhost::MessageList messages, std::vector<std::string> newRemoteIDs,
    std::string mailbox, std::uint64_t setFlags, std::uint64_t clearFlags, bool createNewCacheFiles) {
    auto copies = savedDuplicate(cls, selector, messages, std::move(newRemoteIDs), std::move(mailbox),
                                 setFlags, clearFlags, createNewCacheFiles);
    if (!copies)
        return copies;
    std::unordered_map<const Message*, std::shared_ptr<Message>> copyOf;
    for (const auto& [source, copy] : *copies)
        copyOf.emplace(source.get(), copy);
    mailhost::MessageList carried;
    for (const auto& source : messages) {
        auto found = copyOf.find(source.get());
        if (!source || found == copyOf.end() || !found->second)
            continue;
        Message& copy = *found->second;
        if (!MessageTags::respondsToExtraData(copy) || !MessageTags::respondsToExtraData(*source))
            continue;
        if (auto record = MessageTags::lumettaExtraData(copy))
            mergeMetadata(*record, *source);
        MessageTags::lumettaSynchroniseWithSpotlight(copy);
        carried.push_back(found->second);
    }
    Library::flagsChangedForMessages(carried);
    Library::updateMessageFiles(nullptr);
    return copies;
}

void LibraryTagPersistence::lumettaUpdateFileForMessage(Class* cls, Sel selector, Message* message) {
    savedUpdateFile(cls, selector, message);
}

} // namespace lumetta
