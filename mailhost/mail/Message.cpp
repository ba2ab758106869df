#include "mailhost/mail/Message.h"

#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"

namespace mailhost {

using platform::runtime::Runtime;
using DeallocSeam = platform::runtime::Seam<void(Object*)>;

namespace {
DeallocSeam* deallocSeam = nullptr;
} // namespace

Class& Message::registerClass() {
    Class& cls = Runtime::defineClass(kClassName);
    if (!deallocSeam)
        deallocSeam = new DeallocSeam(cls, "dealloc", &Message::hostDealloc);
    cls.setFactory([](Class* c) { return std::make_unique<Message>(c); });
    return cls;
}

Message::~Message() {
    if (deallocSeam)
        (*deallocSeam)(this);
}

std::string Message::messageID() const {
    const MessageHeaders* h = headers();
    return h ? h->messageID() : std::string();
}

std::string Message::subject() const {
    const MessageHeaders* h = headers();
    return h ? h->subject() : std::string();
}

const MessageHeaders* Message::headers() const {
    if (!headersRead_) {
        headersRead_ = true;
        if (auto bytes = headerBytes())
            if (auto parsed = MessageHeaders::parse(bytes.value()))
                headers_ = std::move(parsed.value());
    }
    return headers_ ? &*headers_ : nullptr;
}

std::optional<std::string> Message::firstHeaderForKey(std::string_view name) const {
    const MessageHeaders* h = headers();
    return h ? h->firstHeaderForKey(name) : std::nullopt;
}

platform::Result<std::string> Message::messageBytes() const {
    return platform::makeError("this message has no stored bytes");
}

std::size_t Message::headerEnd(std::string_view bytes) {
    for (std::size_t at = bytes.find('\n'); at != std::string_view::npos; at = bytes.find('\n', at + 1)) {
        if (at + 1 < bytes.size() && bytes[at + 1] == '\n')
            return at + 2;
        if (at + 2 < bytes.size() && bytes[at + 1] == '\r' && bytes[at + 2] == '\n')
            return at + 3;
    }
    return std::string_view::npos;
}

platform::Result<std::string> Message::headerBytes() const {
    auto bytes = messageBytes();
    if (!bytes)
        return bytes;
    if (const std::size_t end = headerEnd(bytes.value()); end != std::string_view::npos)
        bytes.value().resize(end);
    return bytes;
}

std::shared_ptr<Message> Message::sharedReference() {
    if (auto owned = weak_from_this().lock())
        return owned;
    return std::shared_ptr<Message>(std::shared_ptr<Message>(), this);
}

bool Message::isKindOfClass(std::string_view className) const {
    const Class* wanted = Runtime::classNamed(className);
    return wanted && objectClass()->isSubclassOf(wanted);
}

} // namespace mailhost
