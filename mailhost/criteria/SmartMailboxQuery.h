#pragma once

#include "mailhost/criteria/MessageCriterion.h"
#include "mailhost/mail/Library.h"
#include "platform/foundation/Result.h"

#include <memory>
#include <string>
#include <vector>

namespace mailhost {

// How a smart mailbox is listed. Its stored criterion goes through `fixCriterion:`;
// every part of what comes back whose identifier is "MatadorBody" (the criterion itself,
// a sub-criterion, or one inside a nested compound) is answered by its metadata query
// over the library's index, every other part by `doesMessageSatisfyCriterion:` on each
// message, and the answers are combined by each compound's all/any rule. Nothing is kept
// between listings: the index and the tag records are read as they are now.
//
// When the index alone can narrow the search (the criterion is a query, or all parts
// must hold and one is a query), only the messages it found are evaluated in memory;
// otherwise every message of the library (or of the mailbox) is.
class SmartMailboxQuery {
public:
    // Runs `fixCriterion:` on `stored`, which is not changed.
    explicit SmartMailboxQuery(const std::shared_ptr<MessageCriterion>& stored);

    // What `fixCriterion:` returned: the criterion searched with.
    const std::shared_ptr<MessageCriterion>& searched() const { return searched_; }
    // Its top-level parts (the sub-criteria of a compound, else the criterion alone) and
    // how they combine.
    std::vector<std::shared_ptr<MessageCriterion>> parts() const;
    bool allMustMatch() const;

    static bool isIndexQuery(const MessageCriterion& criterion);

    // The messages selected, in the order `lumetta ls` lists them. Fails, saying why, when
    // a query does not read (the query is shown with a caret under the mistake), when a
    // part cannot be evaluated, or when the library has no usable metadata index.
    // `mailbox` "" is the whole library.
    [[nodiscard]] platform::Result<MessageList> messages(Library& library,
                                                         const std::string& mailbox = "") const;

private:
    std::shared_ptr<MessageCriterion> searched_;
};

} // namespace mailhost
