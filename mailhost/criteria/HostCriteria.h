#pragma once

#include "mailhost/mail/Message.h"

#include <string>

namespace mailhost {

class MessageCriterion;

// The host's own kinds of criterion: their types and identifiers, and how each one is
// answered for a message. Compound criteria are MessageCriterion's own business; tag
// criteria and anything else a bundle adds come in through the seams.
class HostCriteria {
public:
    // 0 for an identifier the host does not know.
    static int typeForIdentifier(const std::string& identifier);
    // "" for a type the host does not know.
    static std::string identifierForType(int type);
    // Whether the message satisfies a (non-compound) criterion of the host's types;
    // false for a type the host does not know.
    static bool evaluate(const MessageCriterion& criterion, Message* message);
    // Whether answering the criterion needs the message's body.
    static bool needsBody(const MessageCriterion& criterion);
    // Whether the criterion can be evaluated at all; `why` says what is wrong.
    static bool isValid(const MessageCriterion& criterion, std::string* why);
};

} // namespace mailhost
