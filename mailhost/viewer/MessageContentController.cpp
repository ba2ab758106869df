#include "mailhost/viewer/MessageContentController.h"

#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"

namespace mailhost {

namespace {
platform::runtime::Seam<void(Object*)>* deallocSeam = nullptr;
} // namespace

Class& MessageContentController::registerClass() {
    Class& cls = platform::runtime::Runtime::defineClass(kClassName);
    if (!deallocSeam)
        deallocSeam = new platform::runtime::Seam<void(Object*)>(cls, "dealloc", &hostDealloc);
    cls.setFactory([](Class* c) { return std::make_unique<MessageContentController>(c); });
    return cls;
}

std::unique_ptr<MessageContentController> MessageContentController::make() {
    std::unique_ptr<Object> object = registerClass().createInstance();
    auto* controller = dynamic_cast<MessageContentController*>(object.get());
    if (!controller)
        return nullptr;
    object.release();
    return std::unique_ptr<MessageContentController>(controller);
}

MessageContentController::~MessageContentController() {
    if (deallocSeam)
        (*deallocSeam)(this);
}

} // namespace mailhost
