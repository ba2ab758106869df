#pragma once

#include "mailhost/mail/Message.h"

#include <memory>

namespace mailhost {

// What shows the current message beside the message list: the message shown (one
// selected message, else none) and the view owner a bundle attaches beside it (the tag
// panel's controller, owned by the bundle). Its dealloc is replaceable so a bundle can
// drop the state it attached.
class MessageContentController : public Object {
public:
    static constexpr const char* kClassName = "MessageContentController";
    static Class& registerClass();
    static std::unique_ptr<MessageContentController> make();

    explicit MessageContentController(Class* cls) : Object(cls) {}
    ~MessageContentController() override;

    const std::shared_ptr<Message>& message() const { return message_; }
    void setMessage(std::shared_ptr<Message> message) { message_ = std::move(message); }
    Object* viewOwner() const { return viewOwner_; }
    void setViewOwner(Object* owner) { viewOwner_ = owner; }

    static void hostDealloc(Object*, Sel) {}

private:
    std::shared_ptr<Message> message_;
    Object* viewOwner_ = nullptr;
};

} // namespace mailhost
