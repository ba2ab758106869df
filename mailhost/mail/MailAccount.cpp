#include "mailhost/mail/MailAccount.h"

#include "mailhost/mail/MessageStore.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"

#include <map>
#include <mutex>

namespace mailhost {

using platform::runtime::Runtime;

namespace {

platform::runtime::Seam<void(Object*)>* deallocSeam = nullptr;

// The local account of each library the process has opened. Accounts are never
// destroyed: a plug-in may keep state attached to one, and its dealloc must not run
// while the process is tearing its statics down.
struct Accounts {
    std::mutex mutex;
    std::map<const Library*, std::unique_ptr<MailAccount>> byLibrary;
};

Accounts& accounts() {
    static auto* table = new Accounts;
    return *table;
}

} // namespace

Class& MailAccount::registerClass() {
    Class& cls = Runtime::defineClass(kClassName);
    if (!deallocSeam)
        deallocSeam = new platform::runtime::Seam<void(Object*)>(cls, "dealloc", &MailAccount::hostDealloc);
    cls.setFactory([](Class* c) { return std::make_unique<MailAccount>(c); });
    return cls;
}

MailAccount::~MailAccount() {
    if (deallocSeam)
        (*deallocSeam)(this);
}

MailAccount& MailAccount::local(Library& library) {
    Accounts& table = accounts();
    std::lock_guard lock(table.mutex);
    auto& slot = table.byLibrary[&library];
    if (!slot) {
        Class& cls = registerClass();
        std::unique_ptr<Object> object = cls.createInstance();
        if (auto* account = dynamic_cast<MailAccount*>(object.get())) {
            object.release();
            slot.reset(account);
        } else {
            // A factory that makes something else cannot take the library's only
            // account away: the host's own class stands in.
            slot = std::make_unique<MailAccount>(&cls);
        }
        slot->library_ = &library;
    }
    return *slot;
}

MailAccount* MailAccount::forMailbox(const std::string& mailbox) {
    Library* library = Library::current();
    if (!library || !library->index().mailboxNamed(mailbox))
        return nullptr;
    return &local(*library);
}

std::unique_ptr<MessageStore> MailAccount::storeForMailboxUid(const std::string& mailbox) {
    if (!library_ || !library_->index().mailboxNamed(mailbox))
        return nullptr;
    std::unique_ptr<Object> object = MessageStore::registerClass().createInstance();
    auto* store = dynamic_cast<MessageStore*>(object.get());
    if (!store)
        return nullptr;
    object.release();
    store->account_ = this;
    store->mailbox_ = mailbox;
    return std::unique_ptr<MessageStore>(store);
}

} // namespace mailhost
