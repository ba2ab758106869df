#pragma once

#include "mailhost/mail/Message.h"
#include "platform/runtime/Object.h"

#include <memory>

namespace lumetta {

// Removing a message's attachments makes a new message; it keeps the original's tags.
class MessageWriterTagCarryOver {
public:
    static void load();

private:
    static std::shared_ptr<mailhost::Message> lumettaCreateMessageByRemovingAttachmentsFromMessage(
        platform::runtime::Object* self, platform::runtime::Sel, std::shared_ptr<mailhost::Message> message);
};

} // namespace lumetta
