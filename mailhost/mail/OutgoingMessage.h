#pragma once

#include "mailhost/mail/Message.h"

#include <memory>
#include <string>

namespace mailhost {

// A message being composed or sent: its RFC 822 bytes live in memory until it is
// delivered or saved, so it has no file and no library row.
class OutgoingMessage : public Message {
public:
    static constexpr const char* kClassName = "OutgoingMessage";
    // Defines "OutgoingMessage" (a "Message") and its replaceable "dealloc".
    static Class& registerClass();

    explicit OutgoingMessage(Class* cls) : Message(cls) {}
    ~OutgoingMessage() override;

    // One made through the class's factory, so that a posing class supplies it; nullptr
    // when the factory gives something that is not an outgoing message.
    static std::unique_ptr<OutgoingMessage> withBytes(std::string bytes);

    platform::Result<std::string> messageBytes() const override { return bytes_; }

    static void hostDealloc(Object*, Sel) {}

private:
    std::string bytes_;
};

} // namespace mailhost
