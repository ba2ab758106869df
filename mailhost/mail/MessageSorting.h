#pragma once

#include "mailhost/mail/Library.h"

#include <map>
#include <string>

namespace mailhost {

// The library messages among `messages` grouped by the mailbox that holds them:
// mailbox name to its messages, each group in the order of `messages`. Messages that
// are not stored in the library (outgoing, loose files) belong to no mailbox and are
// left out.
std::map<std::string, MessageList> dictionaryWithMessagesSortedByMailbox(const MessageList& messages);

} // namespace mailhost
