#include "lumetta/store/MessageTagAccess.h"

#include "lumetta/core/DebugLogging.h"
#include "lumetta/core/MethodReplacement.h"
#include "lumetta/store/MessageTags.h"
#include "lumetta/store/TagRecord.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/LibraryMessage.h"
#include "platform/foundation/Lock.h"
#include "platform/foundation/MapTable.h"

namespace lumetta {

using mailhost::Message;
using platform::Dictionary;
using platform::Value;

namespace {

// Records of messages outside the library, by object; the table never owns the
// object, and the replaced dealloc drops the entry.
platform::MapTable<const void*, Dictionary>* messageData = nullptr;
platform::Lock* messageTableLock = nullptr;
platform::runtime::DeallocImp savedDealloc = nullptr;

Message* asMessage(platform::runtime::Object* self) {
    return dynamic_cast<Message*>(self);
}

std::string subjectOf(platform::runtime::Object* self) {
    Message* message = asMessage(self);
    return message ? message->subject() : std::string();
}

} // namespace

void MessageTagAccess::load() {
    messageData = new platform::MapTable<const void*, Dictionary>(4); // lives as long as the process
    messageTableLock = new platform::Lock;
    platform::runtime::Class* cls = platform::runtime::Runtime::classNamed(Message::kClassName);
    if (!cls)
        return;
    cls->addInstanceMethod(TagSelectors::kExtraData, &lumettaExtraData);
    cls->addInstanceMethod(TagSelectors::kHasExtraData, &lumettaHasExtraData);
    cls->addInstanceMethod(TagSelectors::kExtraDataForKey, &lumettaExtraDataForKey);
    cls->addInstanceMethod(TagSelectors::kSetExtraDataTo, &lumettaSetExtraDataTo);
    cls->addInstanceMethod(TagSelectors::kSetExtraData, &lumettaSetExtraData);
    cls->addInstanceMethod(TagSelectors::kRemoveExtraData, &lumettaRemoveExtraDataForKey);
    cls->addInstanceMethod(TagSelectors::kSynchroniseWithSpotlight, &lumettaSynchroniseWithSpotlight);
    cls->addInstanceMethod(TagSelectors::kUpdateTagSet, &updateTagSetForTag);
    cls->addInstanceMethod("lumettaDealloc", &lumettaDealloc);
    savedDealloc = replaceInstanceMethod<platform::runtime::DeallocImp>(
        "dealloc", Message::kClassName, "lumettaDealloc", Message::kClassName);
}

std::optional<Dictionary> MessageTagAccess::lumettaExtraData(Object* self, Sel) {
    platform::Lock::Guard guard(*messageTableLock);
    if (Dictionary* record = messageData->objectForKey(self))
        return *record;
    Dictionary record;
    messageData->setObject(record, self);
    return record;
}

bool MessageTagAccess::lumettaHasExtraData(Object* self, Sel) {
    platform::Lock::Guard guard(*messageTableLock);
    return messageData->objectForKey(self) != nullptr;
}

Value MessageTagAccess::lumettaExtraDataForKey(Object* self, Sel, std::string key) {
    auto record = platform::runtime::send<std::optional<Dictionary>>(self, TagSelectors::kExtraData);
    return record && *record ? (*record)->get(key) : Value();
}

void MessageTagAccess::lumettaSetExtraDataTo(Object* self, Sel, std::optional<Dictionary> record) {
    if (!record)
        return;
    platform::Lock::Guard guard(*messageTableLock);
    messageData->setObject(record->mutableCopy(), self);
}

void MessageTagAccess::changeRecord(Object* self, const Value& value, const std::string& key) {
    debugLog(0, "Setting Tag: %@ with value %@ for Message: %@", {key, value, subjectOf(self)});
    auto record = platform::runtime::send<std::optional<Dictionary>>(self, TagSelectors::kExtraData);
    if (record && *record)
        TagRecord::setTag(**record, key, value);
}

void MessageTagAccess::removeFromRecord(Object* self, const std::string& key) {
    debugLog(0, "Remove Tag: %@ for message: %@", {key, subjectOf(self)});
    auto record = platform::runtime::send<std::optional<Dictionary>>(self, TagSelectors::kExtraData);
    if (record && *record)
        TagRecord::removeTag(**record, key);
}

void MessageTagAccess::lumettaSetExtraData(Object* self, Sel, Value value, std::string key) {
    if (key.empty())
        return;
    changeRecord(self, value, key);
}

void MessageTagAccess::lumettaRemoveExtraDataForKey(Object* self, Sel, std::string key) {
    if (key.empty())
        return;
    removeFromRecord(self, key);
}

void MessageTagAccess::lumettaSynchroniseWithSpotlight(Object* self, Sel) {
    Message* message = asMessage(self);
    if (!message || !message->isKindOfClass(mailhost::LibraryMessage::kClassName))
        return;
    auto record = MessageTags::lumettaExtraData(*message);
    platform::runtime::Class* library = platform::runtime::Runtime::classNamed(mailhost::Library::kClassName);
    if (!library)
        return;
    platform::runtime::sendClassVoid(
        *library, "lumettaUpdateSpotlightForDictionary:andMessage:atEmlxPath:", record.value_or(Dictionary()),
        message, mailhost::Library::dataPathForMessage(message));
}

void MessageTagAccess::lumettaDealloc(Object* self, Sel selector) {
    {
        platform::Lock::Guard guard(*messageTableLock);
        messageData->removeObjectForKey(self);
    }
    savedDealloc(self, selector);
}

std::size_t MessageTagAccess::recordCountForTesting() {
    platform::Lock::Guard guard(*messageTableLock);
    return messageData->count();
}

} // namespace lumetta
