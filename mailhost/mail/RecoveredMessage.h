#pragma once

#include "mailhost/mail/Message.h"

#include <filesystem>

namespace mailhost {

// A message made from a loose message file by its path, outside the library's index
// (a file dragged in, or named on the command line).
class RecoveredMessage : public Message {
public:
    static constexpr const char* kClassName = "RecoveredMessage";
    static Class& registerClass();

    explicit RecoveredMessage(Class* cls) : Message(cls) {}
    ~RecoveredMessage() override;

    // Creates one through the class's factory and runs `initWithPath:` on it.
    static std::unique_ptr<RecoveredMessage> withPath(const std::filesystem::path& path);

    const std::filesystem::path& path() const { return path_; }
    platform::Result<std::string> messageBytes() const override;

    // The host's `initWithPath:`: remembers the file and reads its flag word.
    static Object* hostInitWithPath(Object* self, Sel, std::string path);
    static void hostDealloc(Object*, Sel) {}

private:
    std::filesystem::path path_;
};

} // namespace mailhost
