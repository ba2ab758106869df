#pragma once

#include "mailhost/message/MessageHeaders.h"
#include "platform/foundation/Result.h"
#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace mailhost {

using platform::runtime::Class;
using platform::runtime::Object;
using platform::runtime::Sel;

// A mail message as the client handles it. Several objects may stand for one stored
// message; each reads what it needs on demand. Subclasses say where the bytes live.
class Message : public Object, public std::enable_shared_from_this<Message> {
public:
    static constexpr const char* kClassName = "Message";
    // Defines "Message" and its replaceable methods ("dealloc").
    static Class& registerClass();

    explicit Message(Class* cls) : Object(cls) {}
    ~Message() override;

    // The identifier the library knows the message by; for a message outside the
    // library, its "message-id" header.
    virtual std::string messageID() const;
    std::string subject() const;
    // The parsed header block; nullptr when the message bytes cannot be read.
    const MessageHeaders* headers() const;
    std::optional<std::string> firstHeaderForKey(std::string_view name) const;

    // The raw message (no count line, no property list).
    virtual platform::Result<std::string> messageBytes() const;
    // Its header block, up to and with the blank line that ends it (the whole message
    // when there is none): all that headers() parses. Criteria on headers run over every
    // message of a mailbox, and its body may be megabytes of attachments.
    virtual platform::Result<std::string> headerBytes() const;
    // Where the header block of `bytes` ends: after its blank line; npos without one.
    static std::size_t headerEnd(std::string_view bytes);

    // The client's 64-bit flag word: bit 0 read, 1 deleted, 2 answered, 4 flagged,
    // 6 draft; bits the client does not know are kept as they are.
    std::uint64_t flags() const { return flags_; }
    void setFlags(std::uint64_t flags) { flags_ = flags; }

    bool isKindOfClass(std::string_view className) const;
    // The same with the class already looked up (nullptr is no class at all).
    bool isKindOfClass(const Class* cls) const { return cls && objectClass()->isSubclassOf(cls); }

    // A shared reference to this message for lists the library keeps (changed
    // messages wait in one until they are written). A message not owned by a shared
    // pointer gets a reference that does not own it: the caller keeps it alive.
    std::shared_ptr<Message> sharedReference();

    static void hostDealloc(Object*, Sel) {}

protected:
    std::uint64_t flags_ = 0;

private:
    mutable std::optional<MessageHeaders> headers_;
    mutable bool headersRead_ = false;
};

} // namespace mailhost
