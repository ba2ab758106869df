#pragma once

#include "mailhost/mail/Library.h"
#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mailhost {

class MailAccount;

// The messages of one mailbox of an account, as the place their state is changed:
// rule actions and menu commands mark messages through their mailbox's store.
class MessageStore : public Object {
public:
    static constexpr const char* kClassName = "MessageStore";

    // Defines "MessageStore" and its replaceable instance methods:
    //   setFlag:state:forMessages:
    //       void(Object*, Sel, std::string flagName, bool state, MessageList messages)
    //   dealloc   void(Object*, Sel)
    static Class& registerClass();

    explicit MessageStore(Class* cls) : Object(cls) {}
    ~MessageStore() override;

    const std::string& mailbox() const { return mailbox_; }
    MailAccount& account() const { return *account_; }

    // Calls `setFlag:state:forMessages:` on this store.
    void setFlag(const std::string& flagName, bool state, const MessageList& messages);

    // The bit of the message flag word a flag name stands for ("MessageIsRead" is
    // bit 0); nothing for a name the client does not know.
    static std::optional<std::uint64_t> flagBit(std::string_view flagName);

    // The host's implementation: sets (state true) or clears the named bit of every
    // library message in `messages` that this store's mailbox holds, and saves those
    // whose stored flag word changes, through the library's replaceable
    // flagsChangedForMessages and updateMessageFiles. Messages of other mailboxes and
    // messages outside the library are left alone; an unknown flag name changes
    // nothing and is logged.
    static void hostSetFlag(Object* self, Sel, std::string flagName, bool state, MessageList messages);
    static void hostDealloc(Object*, Sel) {}

private:
    friend class MailAccount;

    MailAccount* account_ = nullptr;
    std::string mailbox_;
};

} // namespace mailhost
