#pragma once

#include "mailhost/mail/Library.h"

#include <string>
#include <vector>

namespace mailhost {

class MessageRule;

// What the client itself does with the messages a rule matched, in this order: set and
// clear flags, colour them, copy them, move them, run the rule's program on their files,
// and send the automatic response. A move copies each message into the destination and
// leaves the original in `messagesToBeDeleted` for whoever routes the messages to
// delete once every rule has run; messages an action could not handle go to
// `rejectedMessages`, and each mailbox that received messages is named once in
// `destinationStores`. Nothing here throws or stops the other actions: failures are
// logged, since rules run unattended on arriving mail, and kept for whoever applied
// the rules to tell (takeFailures).
class MessageRuleActions {
public:
    static void perform(MessageRule& rule, const MessageList& messages,
                        std::vector<std::string>* destinationStores, MessageList* rejectedMessages,
                        MessageList* messagesToBeDeleted);

    // What the actions could not do since the last call, oldest first, one line each
    // naming the rule: a program that could not be started or failed, a mailbox that
    // could not be made. The seams that apply rules return no errors, so the front ends
    // ask here.
    static std::vector<std::string> takeFailures();

    // The flag names the message stores know, each standing for one bit of the flag word.
    static const std::vector<std::string>& flagNames();
};

} // namespace mailhost
