#pragma once

#include "mailhost/criteria/MessageCriterion.h"
#include "mailhost/mail/Message.h"

namespace lumetta {

// How each tag criterion answers for one message, from the message's tags alone. The
// qualifier codes are the host's: 3 is / contains, 4 is not / does not contain, 5 less
// than / due within, 6 greater than / due later; any other makes the keyword, project,
// priority and due-date tests fail. "None", "Anything", "PastDue" and "YES" are the
// special expressions.
class TagCriterionEvaluation {
public:
    using Criterion = mailhost::MessageCriterion;
    using Message = mailhost::Message;

    static bool keyWord(const Criterion& criterion, Message& message);
    static bool project(const Criterion& criterion, Message& message);
    static bool priority(const Criterion& criterion, Message& message);
    static bool dueDate(const Criterion& criterion, Message& message);
    // A "contains" test whatever the qualifier says, ignoring case.
    static bool annotation(const Criterion& criterion, Message& message);
    static bool toDoLink(const Criterion& criterion, Message& message);
    static bool toDoCompleted(const Criterion& criterion, Message& message);
};

} // namespace lumetta
