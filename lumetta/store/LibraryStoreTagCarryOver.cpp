#include "lumetta/store/LibraryStoreTagCarryOver.h"

#include "lumetta/core/MethodReplacement.h"
#include "lumetta/store/MessageTags.h"
#include "lumetta/store/TagRecord.h"
#include "platform/foundation/Lock.h"
#include "platform/foundation/MapTable.h"
#include "platform/runtime/Send.h"

namespace lumetta {

using mailhost::LibraryStore;
using platform::Dictionary;
using platform::Value;

namespace {

constexpr const char* kRebuilding = "rebuilding";

platform::MapTable<std::string, Dictionary>* libStoreRebuildData = nullptr;
// Looked at when a store goes but never filled: stores carry nothing of their own.
platform::MapTable<const void*, Dictionary>* libStoreInstances = nullptr;
platform::Lock* libStoreLock = nullptr;

using RebuildImp = platform::Result<std::size_t> (*)(platform::runtime::Object*, platform::runtime::Sel);
using MessagesAddedImp = void (*)(platform::runtime::Object*, platform::runtime::Sel,
                                  const mailhost::MessagesAddedNotification&);
RebuildImp savedRebuild = nullptr;
MessagesAddedImp savedMessagesAdded = nullptr;
platform::runtime::DeallocImp savedDealloc = nullptr;

} // namespace

void LibraryStoreTagCarryOver::load() {
    libStoreRebuildData = new platform::MapTable<std::string, Dictionary>(4); // live as long as the process
    libStoreInstances = new platform::MapTable<const void*, Dictionary>(4);
    libStoreLock = new platform::Lock;
    platform::runtime::Class* cls = platform::runtime::Runtime::classNamed(LibraryStore::kClassName);
    if (!cls)
        return;
    cls->addInstanceMethod("lumetta__rebuildTableOfContentsSynchronously",
                           &lumettaRebuildTableOfContentsSynchronously);
    cls->addInstanceMethod("lumetta_handleMessagesAdded:", &lumettaHandleMessagesAdded);
    cls->addInstanceMethod("lumettaDealloc", &lumettaDealloc);
    savedMessagesAdded =
        replaceInstanceMethod<MessagesAddedImp>("handleMessagesAdded:", LibraryStore::kClassName,
                                                "lumetta_handleMessagesAdded:", LibraryStore::kClassName);
    savedRebuild = replaceInstanceMethod<RebuildImp>(
        "_rebuildTableOfContentsSynchronously", LibraryStore::kClassName,
        "lumetta__rebuildTableOfContentsSynchronously", LibraryStore::kClassName);
    savedDealloc = replaceInstanceMethod<platform::runtime::DeallocImp>(
        "dealloc", LibraryStore::kClassName, "lumettaDealloc", LibraryStore::kClassName);
}

Dictionary LibraryStoreTagCarryOver::lumettaInitExtraData(const LibraryStore& store) {
    Dictionary carried;
    platform::Lock::Guard guard(*libStoreLock);
    libStoreRebuildData->setObject(carried, store.mailbox());
    return carried;
}

std::optional<Dictionary> LibraryStoreTagCarryOver::lumettaExtraData(const LibraryStore& store) {
    platform::Lock::Guard guard(*libStoreLock);
    const Dictionary* carried = libStoreRebuildData->objectForKey(store.mailbox());
    return carried ? std::optional<Dictionary>(*carried) : std::nullopt;
}

void LibraryStoreTagCarryOver::lumettaDeallocExtraData(const LibraryStore& store) {
    platform::Lock::Guard guard(*libStoreLock);
    libStoreRebuildData->removeObjectForKey(store.mailbox());
}

platform::Result<std::size_t>
LibraryStoreTagCarryOver::lumettaRebuildTableOfContentsSynchronously(Object* self, Sel selector) {
    auto* store = dynamic_cast<LibraryStore*>(self);
    if (store) {
        Dictionary carried = lumettaInitExtraData(*store);
        {
            // The objects are dropped before the host rebuilds: they stand for the
            // mailbox as it was.
            const mailhost::MessageList messages = store->copyOfAllMessages();
            for (const auto& message : messages) {
                auto record = MessageTags::lumettaExtraData(*message);
                auto header = message->firstHeaderForKey("message-id");
                if (record && header)
                    carried.set(*header, *record);
            }
        }
        carried.set(kRebuilding, true);
    }
    return savedRebuild(self, selector);
}

void LibraryStoreTagCarryOver::lumettaHandleMessagesAdded(
    Object* self, Sel selector, const mailhost::MessagesAddedNotification& notification) {
    auto* store = dynamic_cast<LibraryStore*>(self);
    std::optional<Dictionary> carried = store ? lumettaExtraData(*store) : std::nullopt;
    if (carried && carried->contains(kRebuilding)) {
        for (const auto& message : notification.messages) {
            auto header = message ? message->firstHeaderForKey("message-id") : std::nullopt;
            if (!header)
                continue;
            const Value carriedRecord = carried->get(*header);
            if (const platform::Dictionary* record = carriedRecord.dictionary()) {
                Dictionary tags = TagRecord::tagKeysOnly(*record);
                if (!tags.empty())
                    MessageTags::lumettaSetExtraDataTo(*message, tags);
            }
            carried->remove(*header);
        }
        mailhost::Library::flagsChangedForMessages(notification.messages);
    }
    // Only "rebuilding" left: every carried record found its message.
    if (carried && carried->count() == 1) {
        carried->removeAll();
        lumettaDeallocExtraData(*store);
        mailhost::Library::updateMessageFiles(nullptr);
    }
    savedMessagesAdded(self, selector, notification);
}

void LibraryStoreTagCarryOver::lumettaDealloc(Object* self, Sel selector) {
    {
        platform::Lock::Guard guard(*libStoreLock);
        libStoreInstances->removeObjectForKey(self);
    }
    savedDealloc(self, selector);
}

} // namespace lumetta
