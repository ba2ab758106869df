#include "mailhost/mail/RecoveredMessage.h"

#include "mailhost/library/EmlxFile.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"

namespace mailhost {

using platform::runtime::Runtime;

namespace {
platform::runtime::Seam<void(Object*)>* deallocSeam = nullptr;
platform::runtime::Seam<Object*(Object*, std::string)>* initSeam = nullptr;
} // namespace

Class& RecoveredMessage::registerClass() {
    Class& cls = Runtime::defineClass(kClassName, &Message::registerClass());
    if (!deallocSeam) {
        deallocSeam =
            new platform::runtime::Seam<void(Object*)>(cls, "dealloc", &RecoveredMessage::hostDealloc);
        initSeam = new platform::runtime::Seam<Object*(Object*, std::string)>(
            cls, "initWithPath:", &RecoveredMessage::hostInitWithPath);
    }
    cls.setFactory([](Class* c) { return std::make_unique<RecoveredMessage>(c); });
    return cls;
}

RecoveredMessage::~RecoveredMessage() {
    if (deallocSeam)
        (*deallocSeam)(this);
}

std::unique_ptr<RecoveredMessage> RecoveredMessage::withPath(const std::filesystem::path& path) {
    Class& cls = registerClass();
    std::unique_ptr<Object> object = cls.createInstance();
    auto* message = dynamic_cast<RecoveredMessage*>(object.get());
    if (!message || (*initSeam)(message, path.string()) != message)
        return nullptr;
    object.release();
    return std::unique_ptr<RecoveredMessage>(message);
}

Object* RecoveredMessage::hostInitWithPath(Object* self, Sel, std::string path) {
    auto* message = static_cast<RecoveredMessage*>(self);
    message->path_ = std::move(path);
    if (auto file = EmlxFile::read(message->path_); file && file.value().ok())
        message->flags_ = file.value().plist().get("flags").unsignedValue();
    return self;
}

platform::Result<std::string> RecoveredMessage::messageBytes() const {
    auto file = LUMETTA_TRY(EmlxFile::read(path_));
    return std::string(file.messageBytes());
}

} // namespace mailhost
