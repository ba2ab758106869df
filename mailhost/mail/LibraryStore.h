#pragma once

#include "mailhost/mail/Library.h"
#include "platform/foundation/Result.h"
#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace mailhost {

// What a store tells its observers when messages arrive: the notification's name and
// the messages themselves. A platform::Dictionary holds only property-list values, so
// the message objects travel beside the name instead of in a user-info dictionary;
// `messages` plays the part of the user-info value "messages".
struct MessagesAddedNotification {
    std::string name;
    MessageList messages;
};

// The messages of one mailbox as a store: lists them, and rebuilds the mailbox's part
// of the Envelope Index from the files on disk. A rebuild announces every message of
// the mailbox as newly added, through the replaceable `handleMessagesAdded:` and a
// NotificationCenter notification, because after it observers must treat the objects
// they held as stale.
class LibraryStore : public Object {
public:
    static constexpr const char* kClassName = "LibraryStore";
    // Posted after a rebuild with the store as object; user info: "mailbox" (its name)
    // and "libraryIDs" (an array of the row numbers of every message it now holds).
    static constexpr const char* kMessagesAddedNotification = "LibraryStoreMessagesAdded";

    // Defines "LibraryStore" and its replaceable instance methods:
    //   _rebuildTableOfContentsSynchronously   Result<size_t>(Object*, Sel)
    //   handleMessagesAdded:                   void(Object*, Sel, const MessagesAddedNotification&)
    //   dealloc                                void(Object*, Sel)
    static Class& registerClass();

    // The store of `mailbox`, made through the class's factory so that a posing class
    // supplies the object; nullptr when the library has no such mailbox.
    static std::unique_ptr<LibraryStore> forMailbox(Library& library, const std::string& mailbox);

    explicit LibraryStore(Class* cls) : Object(cls) {}
    ~LibraryStore() override;

    const std::string& mailbox() const { return mailbox_; }
    Library& library() const { return *library_; }

    // A new object for every message the index lists in the mailbox; nothing is shared
    // with earlier calls.
    MessageList copyOfAllMessages() const;

    // Re-reads the mailbox from disk through `_rebuildTableOfContentsSynchronously`;
    // the number of messages the mailbox holds afterwards. On an error the index is
    // as it was and nothing is announced.
    [[nodiscard]] platform::Result<std::size_t> rebuildTableOfContents();

    // The files the last rebuild left out of the index, each with why ("path: reason").
    const std::vector<std::string>& skippedFiles() const { return skipped_; }

    // Calls `handleMessagesAdded:` on this store.
    void handleMessagesAdded(const MessagesAddedNotification& notification);

    // The host's implementations of the replaceable methods.
    static platform::Result<std::size_t> hostRebuildTableOfContents(Object* self, Sel);
    static void hostHandleMessagesAdded(Object*, Sel, const MessagesAddedNotification&) {}
    static void hostDealloc(Object*, Sel) {}

private:
    platform::Result<std::size_t> rebuildFromDisk();

    Library* library_ = nullptr;
    std::string mailbox_;
    std::vector<std::string> skipped_;
};

} // namespace mailhost
