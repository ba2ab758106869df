#pragma once

#include "mailhost/mail/Message.h"
#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <memory>

namespace mailhost {

// Makes new stored messages out of existing ones.
class MessageWriter : public Object {
public:
    static constexpr const char* kClassName = "MessageWriter";

    // Defines "MessageWriter" and its replaceable instance methods:
    //   createMessageByRemovingAttachmentsFromMessage:
    //       std::shared_ptr<Message>(Object*, Sel, std::shared_ptr<Message>)
    //   dealloc   void(Object*, Sel)
    static Class& registerClass();

    // A writer made through the class's factory, so that a posing class supplies it.
    static std::unique_ptr<MessageWriter> create();

    explicit MessageWriter(Class* cls) : Object(cls) {}
    ~MessageWriter() override;

    // Calls `createMessageByRemovingAttachmentsFromMessage:` on this writer.
    std::shared_ptr<Message> createMessageByRemovingAttachmentsFromMessage(std::shared_ptr<Message> message);

    // The host's implementation. The stripped message REPLACES the original: it is
    // stored as a new message (new row number, new file) in the same mailbox with the
    // original's flags, date received and property-list keys, and then the original's
    // row, file and kept-apart attachments are removed. The result is the new library
    // message. A message that is not in the library, cannot be read, is truncated or
    // has no attachments gives nullptr and a log line, and the original stays as it was.
    static std::shared_ptr<Message> hostCreateMessageByRemovingAttachments(Object*, Sel,
                                                                           std::shared_ptr<Message> message);
    static void hostDealloc(Object*, Sel) {}
};

} // namespace mailhost
