#include "mailhost/mail/MessageSorting.h"

namespace mailhost {

std::map<std::string, MessageList> dictionaryWithMessagesSortedByMailbox(const MessageList& messages) {
    std::map<std::string, MessageList> byMailbox;
    for (const auto& message : messages)
        if (const auto* stored = dynamic_cast<const LibraryMessage*>(message.get()))
            byMailbox[stored->mailboxName()].push_back(message);
    return byMailbox;
}

} // namespace mailhost
