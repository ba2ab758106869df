#include "lumetta/store/RecoveredMessageTagAccess.h"

#include "lumetta/core/MethodReplacement.h"
#include "lumetta/store/MessageTags.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/RecoveredMessage.h"
#include "platform/foundation/Lock.h"
#include "platform/foundation/MapTable.h"

namespace lumetta {

using mailhost::Message;
using mailhost::RecoveredMessage;
using platform::Dictionary;

namespace {

platform::MapTable<const void*, Dictionary>* recoveredMessageData = nullptr;
platform::Lock* messageDataLock = nullptr;
platform::runtime::DeallocImp savedDealloc = nullptr;
using InitImp = platform::runtime::Object* (*)(platform::runtime::Object*, platform::runtime::Sel,
                                               std::string);
InitImp savedInitWithPath = nullptr;

} // namespace

void RecoveredMessageTagAccess::load() {
    recoveredMessageData = new platform::MapTable<const void*, Dictionary>(4); // lives as long as the process
    messageDataLock = new platform::Lock;
    platform::runtime::Class* cls = platform::runtime::Runtime::classNamed(RecoveredMessage::kClassName);
    if (!cls)
        return;
    cls->addInstanceMethod(TagSelectors::kExtraData, &lumettaExtraData);
    cls->addInstanceMethod(TagSelectors::kHasExtraData, &lumettaHasExtraData);
    cls->addInstanceMethod(TagSelectors::kReadExtraDataFromPath, &lumettaReadExtraDataFromPath);
    cls->addInstanceMethod("lumettaInitWithPath:", &lumettaInitWithPath);
    cls->addInstanceMethod("lumettaDealloc", &lumettaDealloc);
    savedInitWithPath = replaceInstanceMethod<InitImp>("initWithPath:", RecoveredMessage::kClassName,
                                                       "lumettaInitWithPath:", RecoveredMessage::kClassName);
    savedDealloc = replaceInstanceMethod<platform::runtime::DeallocImp>(
        "dealloc", RecoveredMessage::kClassName, "lumettaDealloc", RecoveredMessage::kClassName);
}

std::optional<Dictionary> RecoveredMessageTagAccess::lumettaExtraData(Object* self, Sel) {
    platform::Lock::Guard guard(*messageDataLock);
    if (Dictionary* record = recoveredMessageData->objectForKey(self))
        return *record;
    Dictionary record;
    recoveredMessageData->setObject(record, self);
    return record;
}

bool RecoveredMessageTagAccess::lumettaHasExtraData(Object* self, Sel) {
    platform::Lock::Guard guard(*messageDataLock);
    return recoveredMessageData->objectForKey(self) != nullptr;
}

void RecoveredMessageTagAccess::lumettaReadExtraDataFromPath(Object* self, Sel, std::string path) {
    if (path.empty())
        return;
    {
        platform::Lock::Guard guard(*messageDataLock);
        if (recoveredMessageData->objectForKey(self))
            return;
    }
    platform::runtime::Class* library = platform::runtime::Runtime::classNamed(mailhost::Library::kClassName);
    auto message = dynamic_cast<Message*>(self);
    if (!library || !message)
        return;
    auto plist = platform::runtime::sendClass<std::optional<Dictionary>>(
        *library, "lumettaMetaDataDictionaryFromEmlxFile:forMessage:", path, message);
    // An unreadable file gives no record yet: the first fetch then makes an empty one.
    if (!plist || !*plist)
        return;
    platform::Lock::Guard guard(*messageDataLock);
    if (!recoveredMessageData->objectForKey(self))
        recoveredMessageData->setObject((*plist)->mutableCopy(), self);
}

platform::runtime::Object* RecoveredMessageTagAccess::lumettaInitWithPath(Object* self, Sel selector,
                                                                          std::string path) {
    lumettaReadExtraDataFromPath(self, TagSelectors::kReadExtraDataFromPath, path);
    return savedInitWithPath(self, selector, std::move(path));
}

void RecoveredMessageTagAccess::lumettaDealloc(Object* self, Sel selector) {
    {
        platform::Lock::Guard guard(*messageDataLock);
        recoveredMessageData->removeObjectForKey(self);
    }
    savedDealloc(self, selector);
}

std::size_t RecoveredMessageTagAccess::recordCountForTesting() {
    platform::Lock::Guard guard(*messageDataLock);
    return recoveredMessageData->count();
}

} // namespace lumetta
