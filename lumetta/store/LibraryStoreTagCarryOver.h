#pragma once

#include "mailhost/mail/LibraryStore.h"
#include "platform/foundation/Dictionary.h"

#include <cstddef>
#include <optional>

namespace lumetta {

// Carries tags across a rebuild of a mailbox. A rebuild makes new message objects
// for every file, so before it starts each message's record is kept under its
// "message-id" header, and when the rebuilt messages are announced each gets the tag
// keys carried for its header. Tags already in files need none of this; it saves
// the ones only in memory. Messages without the header cannot be matched and keep
// only what their files hold.
class LibraryStoreTagCarryOver {
public:
    using Object = platform::runtime::Object;
    using Sel = platform::runtime::Sel;

    static void load();

    // The mailbox's carry-over dictionary: header value -> record, and "rebuilding"
    // while a rebuild is under way.
    static platform::Dictionary lumettaInitExtraData(const mailhost::LibraryStore& store);
    static std::optional<platform::Dictionary> lumettaExtraData(const mailhost::LibraryStore& store);
    static void lumettaDeallocExtraData(const mailhost::LibraryStore& store);

private:
    static platform::Result<std::size_t> lumettaRebuildTableOfContentsSynchronously(Object* self,
                                                                                    Sel selector);
    static void lumettaHandleMessagesAdded(Object* self, Sel selector,
                                           const mailhost::MessagesAddedNotification& notification);
    static void lumettaDealloc(Object* self, Sel selector);
};

} // namespace lumetta
