#include "mailhost/mail/OutgoingMessage.h"

#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"

namespace mailhost {

using platform::runtime::Runtime;

namespace {
platform::runtime::Seam<void(Object*)>* deallocSeam = nullptr;
}

Class& OutgoingMessage::registerClass() {
    Class& cls = Runtime::defineClass(kClassName, &Message::registerClass());
    if (!deallocSeam)
        deallocSeam =
            new platform::runtime::Seam<void(Object*)>(cls, "dealloc", &OutgoingMessage::hostDealloc);
    cls.setFactory([](Class* c) { return std::make_unique<OutgoingMessage>(c); });
    return cls;
}

OutgoingMessage::~OutgoingMessage() {
    if (deallocSeam)
        (*deallocSeam)(this);
}

std::unique_ptr<OutgoingMessage> OutgoingMessage::withBytes(std::string bytes) {
    std::unique_ptr<Object> object = registerClass().createInstance();
    auto* message = dynamic_cast<OutgoingMessage*>(object.get());
    if (!message)
        return nullptr;
    object.release();
    message->bytes_ = std::move(bytes);
    return std::unique_ptr<OutgoingMessage>(message);
}

} // namespace mailhost
