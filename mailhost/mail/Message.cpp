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
        if (auto bytes = messageBytes())
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
