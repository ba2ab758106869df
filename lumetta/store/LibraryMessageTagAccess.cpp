#include "lumetta/store/LibraryMessageTagAccess.h"

#include "lumetta/core/MethodReplacement.h"
#include "lumetta/store/MessageTagAccess.h"
#include "lumetta/store/MessageTags.h"
#include "lumetta/store/TagRecord.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/LibraryMessage.h"
#include "platform/foundation/Lock.h"
#include "platform/foundation/MapTable.h"

#include <cstdint>
#include <unordered_set>

namespace lumetta {

using mailhost::LibraryMessage;
using mailhost::Message;
using platform::Dictionary;
using platform::Value;

namespace {

// The tables are keyed by message identifier and guarded by one lock, held only
// while a table is looked up or changed, never while a file is read.
platform::MapTable<std::string, Dictionary>* libraryMessageData = nullptr;
platform::MapTable<std::string, std::unordered_set<std::uintptr_t>>* libraryMessageInstances = nullptr;
platform::MapTable<std::string, Dictionary>* libraryMessageSavedTags = nullptr;
platform::Lock* libraryMessageTableLock = nullptr;
platform::runtime::DeallocImp savedDealloc = nullptr;

platform::runtime::Class* libraryMessageClass = nullptr;
platform::runtime::Class* libraryClass = nullptr;

LibraryMessage* asLibraryMessage(platform::runtime::Object* self) {
    auto* message = dynamic_cast<LibraryMessage*>(self);
    return message && message->isKindOfClass(libraryMessageClass) ? message : nullptr;
}

std::uintptr_t instanceToken(const void* self) {
    return reinterpret_cast<std::uintptr_t>(self);
}

// The record as the message file holds it; nullopt when the file cannot be read.
std::optional<Dictionary> recordFromFile(LibraryMessage& message) {
    platform::runtime::Class* library = platform::runtime::Runtime::classNamed(mailhost::Library::kClassName);
    if (!library)
        return std::nullopt;
    auto plist = platform::runtime::sendClass<std::optional<Dictionary>>(
        *library,
        "lumettaMetaDataDictionaryFromEmlxFile:forMessage:", mailhost::Library::dataPathForMessage(&message),
        static_cast<Message*>(&message));
    if (!plist || !*plist)
        return std::nullopt;
    return (*plist)->mutableCopy();
}

// Saves one message's changed record the way a single edit does: index, host
// notice, then the host writes the file (merging the tags in on the way).
void saveOne(LibraryMessage& message) {
    MessageTags::lumettaSynchroniseWithSpotlight(message);
    mailhost::Library::flagsChangedForMessages({message.sharedReference()});
    mailhost::Library::updateMessageFiles(nullptr);
}

} // namespace

void LibraryMessageTagAccess::load() {
    libraryMessageData = new platform::MapTable<std::string, Dictionary>(4); // live as long as the process
    libraryMessageInstances = new platform::MapTable<std::string, std::unordered_set<std::uintptr_t>>(4);
    libraryMessageSavedTags = new platform::MapTable<std::string, Dictionary>(4);
    libraryMessageTableLock = new platform::Lock;
    libraryMessageClass = platform::runtime::Runtime::classNamed(LibraryMessage::kClassName);
    libraryClass = platform::runtime::Runtime::classNamed(mailhost::Library::kClassName);
    for (const char* name : {LibraryMessage::kClassName, mailhost::LibraryIMAPMessage::kClassName}) {
        platform::runtime::Class* cls = platform::runtime::Runtime::classNamed(name);
        if (!cls)
            continue;
        // The IMAP variant has its own setter with the same steps; the rest it inherits.
        cls->addInstanceMethod(TagSelectors::kSetExtraData, &lumettaSetExtraData);
        if (name != LibraryMessage::kClassName)
            continue;
        cls->addInstanceMethod(TagSelectors::kExtraData, &lumettaExtraData);
        cls->addInstanceMethod(TagSelectors::kHasExtraData, &lumettaHasExtraData);
        cls->addInstanceMethod(TagSelectors::kSetExtraDataTo, &lumettaSetExtraDataTo);
        cls->addInstanceMethod(TagSelectors::kRemoveExtraData, &lumettaRemoveExtraDataForKey);
        cls->addInstanceMethod(TagSelectors::kUpdateTagSet, &MessageTagAccess::updateTagSetForTag);
        cls->addInstanceMethod("lumettaDealloc", &lumettaDealloc);
        savedDealloc = replaceInstanceMethod<platform::runtime::DeallocImp>(
            "dealloc", LibraryMessage::kClassName, "lumettaDealloc", LibraryMessage::kClassName);
    }
}

std::optional<Dictionary> LibraryMessageTagAccess::lumettaExtraData(Object* self, Sel) {
    LibraryMessage* message = asLibraryMessage(self);
    if (!message)
        return std::nullopt;
    const std::string id = message->messageID();
    if (id.empty())
        return std::nullopt;
    libraryMessageTableLock->lock();
    Dictionary* found = libraryMessageData->objectForKey(id);
    std::optional<Dictionary> record = found ? std::optional<Dictionary>(*found) : std::nullopt;
    if (!record) {
        // The file is read without the lock; a record another caller inserted
        // meanwhile wins over this one.
        libraryMessageTableLock->unlock();
        std::optional<Dictionary> loaded = recordFromFile(*message);
        libraryMessageTableLock->lock();
        if (Dictionary* raced = libraryMessageData->objectForKey(id)) {
            record = *raced;
        } else if (loaded) {
            libraryMessageData->setObject(*loaded, id);
            libraryMessageSavedTags->setObject(TagRecord::tagSnapshot(*loaded), id);
            record = loaded;
        }
    }
    auto* tokens = libraryMessageInstances->objectForKey(id);
    if (!tokens) {
        libraryMessageInstances->setObject({}, id);
        tokens = libraryMessageInstances->objectForKey(id);
    }
    tokens->insert(instanceToken(self));
    libraryMessageTableLock->unlock();
    return record;
}

bool LibraryMessageTagAccess::lumettaHasExtraData(Object* self, Sel) {
    LibraryMessage* message = asLibraryMessage(self);
    if (!message)
        return false;
    const std::string id = message->messageID();
    if (id.empty())
        return false;
    platform::Lock::Guard guard(*libraryMessageTableLock);
    const Dictionary* record = libraryMessageData->objectForKey(id);
    return record && !record->empty() && TagRecord::hasTagKeys(*record);
}

void LibraryMessageTagAccess::lumettaSetExtraDataTo(Object* self, Sel, std::optional<Dictionary> record) {
    LibraryMessage* message = asLibraryMessage(self);
    if (!message || !record)
        return;
    const std::string id = message->messageID();
    platform::Lock::Guard guard(*libraryMessageTableLock);
    libraryMessageData->setObject(record->mutableCopy(), id);
    // A record handed over whole did not come from the file: its next save writes it
    // as it is.
    libraryMessageSavedTags->removeObjectForKey(id);
}

void LibraryMessageTagAccess::lumettaSetExtraData(Object* self, Sel, Value value, std::string key) {
    if (key.empty())
        return;
    MessageTagAccess::changeRecord(self, value, key);
    if (LibraryMessage* message = asLibraryMessage(self))
        saveOne(*message);
}

void LibraryMessageTagAccess::lumettaRemoveExtraDataForKey(Object* self, Sel, std::string key) {
    if (key.empty())
        return;
    MessageTagAccess::removeFromRecord(self, key);
    if (LibraryMessage* message = asLibraryMessage(self))
        saveOne(*message);
}

void LibraryMessageTagAccess::lumettaDealloc(Object* self, Sel selector) {
    if (LibraryMessage* message = asLibraryMessage(self)) {
        const std::string id = message->messageID();
        platform::Lock::Guard guard(*libraryMessageTableLock);
        auto* tokens = libraryMessageInstances->objectForKey(id);
        if (tokens)
            tokens->erase(instanceToken(self));
        // No token set left means nobody holds the record any more, including a
        // record handed over whole (after a rebuild) that no object has fetched yet.
        if (!tokens || tokens->empty()) {
            libraryMessageInstances->removeObjectForKey(id);
            libraryMessageData->removeObjectForKey(id);
            libraryMessageSavedTags->removeObjectForKey(id);
        }
    }
    savedDealloc(self, selector);
}

std::optional<Dictionary> LibraryMessageTagAccess::tagsAsSaved(const std::string& messageID) {
    platform::Lock::Guard guard(*libraryMessageTableLock);
    const Dictionary* tags = libraryMessageSavedTags->objectForKey(messageID);
    return tags ? std::optional<Dictionary>(*tags) : std::nullopt;
}

void LibraryMessageTagAccess::setTagsAsSaved(const std::string& messageID, Dictionary tags) {
    platform::Lock::Guard guard(*libraryMessageTableLock);
    // Only beside a live record: without one the next fetch reads the file afresh.
    if (libraryMessageData->objectForKey(messageID))
        libraryMessageSavedTags->setObject(std::move(tags), messageID);
}

void LibraryMessageTagAccess::forgetTagsAsSaved(const std::string& messageID) {
    platform::Lock::Guard guard(*libraryMessageTableLock);
    libraryMessageSavedTags->removeObjectForKey(messageID);
}

LibraryMessageTagAccess::TableSizes LibraryMessageTagAccess::tableSizesForTesting() {
    platform::Lock::Guard guard(*libraryMessageTableLock);
    return {libraryMessageData->count(), libraryMessageInstances->count()};
}

} // namespace lumetta
