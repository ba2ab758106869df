#pragma once

#include "mailhost/mail/Library.h"
#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <memory>
#include <string>

namespace mailhost {

class MessageStore;

// An account: the owner of a set of mailboxes and the way to their message stores.
// This client keeps all mail in its local library, so a library has exactly one
// account ("On My Computer") and every mailbox of the library belongs to it.
class MailAccount : public Object {
public:
    static constexpr const char* kClassName = "MailAccount";
    // Defines "MailAccount" and its replaceable "dealloc".
    static Class& registerClass();

    explicit MailAccount(Class* cls) : Object(cls) {}
    ~MailAccount() override;

    // The library's local account, made through the class's factory on first request.
    // It stays for the rest of the process, so references to it never dangle while
    // the library is open.
    static MailAccount& local(Library& library);
    // The account holding `mailbox` in the open library; nullptr when no library is
    // open or it has no such mailbox.
    static MailAccount* forMailbox(const std::string& mailbox);

    Library& library() const { return *library_; }

    // A new store for one of the account's mailboxes (by name, "Projects/Apollo");
    // nullptr for a mailbox the library does not have.
    std::unique_ptr<MessageStore> storeForMailboxUid(const std::string& mailbox);

    static void hostDealloc(Object*, Sel) {}

private:
    Library* library_ = nullptr;
};

} // namespace mailhost
