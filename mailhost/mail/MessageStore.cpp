#include "mailhost/mail/MessageStore.h"

#include "mailhost/mail/MailAccount.h"
#include "platform/foundation/Log.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"

#include <array>
#include <utility>

namespace mailhost {

using platform::runtime::Runtime;
using platform::runtime::Seam;

namespace {

Seam<void(Object*, std::string, bool, MessageList)>* setFlagSeam = nullptr;
Seam<void(Object*)>* deallocSeam = nullptr;

constexpr std::array<std::pair<std::string_view, std::uint64_t>, 5> kFlagBits = {{
    {"MessageIsRead", 1ULL << 0},
    {"MessageIsDeleted", 1ULL << 1},
    {"MessageIsAnswered", 1ULL << 2},
    {"MessageIsFlagged", 1ULL << 4},
    {"MessageIsDraft", 1ULL << 6},
}};

} // namespace

Class& MessageStore::registerClass() {
    Class& cls = Runtime::defineClass(kClassName);
    if (!setFlagSeam) {
        setFlagSeam = new Seam<void(Object*, std::string, bool, MessageList)>(
            cls, "setFlag:state:forMessages:", &MessageStore::hostSetFlag);
        deallocSeam = new Seam<void(Object*)>(cls, "dealloc", &MessageStore::hostDealloc);
    }
    cls.setFactory([](Class* c) { return std::make_unique<MessageStore>(c); });
    return cls;
}

MessageStore::~MessageStore() {
    if (deallocSeam)
        (*deallocSeam)(this);
}

void MessageStore::setFlag(const std::string& flagName, bool state, const MessageList& messages) {
    (*setFlagSeam)(this, flagName, state, messages);
}

std::optional<std::uint64_t> MessageStore::flagBit(std::string_view flagName) {
    for (const auto& [name, bit] : kFlagBits)
        if (name == flagName)
            return bit;
    return std::nullopt;
}

void MessageStore::hostSetFlag(Object* self, Sel, std::string flagName, bool state, MessageList messages) {
    auto* store = dynamic_cast<MessageStore*>(self);
    if (!store || !store->account_)
        return;
    const auto bit = flagBit(flagName);
    if (!bit) {
        platform::Log::line("Not setting the unknown message flag \"" + flagName + "\"");
        return;
    }
    Library& library = store->account_->library();
    MessageList changed;
    for (const auto& message : messages) {
        auto* stored = dynamic_cast<LibraryMessage*>(message.get());
        if (!stored || stored->mailboxName() != store->mailbox_)
            continue;
        // The bit goes into the word the library holds now, not the one the object
        // was made with: an object made before another one changed the message must
        // not put the other bits back.
        const auto envelope = library.index().message(stored->libraryID());
        if (!envelope)
            continue;
        const std::uint64_t flags = state ? envelope->flags | *bit : envelope->flags & ~*bit;
        stored->setFlags(flags);
        if (flags != envelope->flags)
            changed.push_back(message);
    }
    if (changed.empty())
        return;
    Library::flagsChangedForMessages(changed);
    Library::updateMessageFiles(nullptr);
}

} // namespace mailhost
