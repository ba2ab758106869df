#pragma once

#include "mailhost/criteria/MessageCriterion.h"
#include "mailhost/rules/MFError.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace mailhost {

class MessageRule;

// Whether a rule can be saved, as the client checks it when the user confirms a rule: a
// name, criteria that are complete, a mailbox for each move or copy, a script for the
// script action, recipients for a forward or redirect, and at least one action. The
// first failure is the answer, as an error the user reads.
class MessageRuleValidation {
public:
    // The code of every rule error, and the strings table its texts come from.
    static constexpr int kInvalidRuleCode = 1030;
    static constexpr const char* kTable = "Delayed";

    // The client's error for a failed check: localised text under the localised title
    // "Error", in the message error domain.
    static std::shared_ptr<MFError> error(std::string_view key, std::string_view defaultText,
                                          std::optional<std::string> helpTag);
    // A criterion's own answer, with its reason made into an error.
    static bool criterionIsValid(MessageCriterion& criterion, std::shared_ptr<MFError>* error);

    // Whether the mailboxes the move and copy actions name can be mailboxes of the
    // library. A name such as "../Elsewhere" or "/tmp/x" could never be made, so the
    // action would quietly do nothing each time the rule runs; it is refused when the
    // rule is saved instead.
    static bool destinationsAreMailboxNames(const MessageRule& rule, std::shared_ptr<MFError>* error);

    // The client's own check (the implementation behind `isValid:`). `error` is left as it
    // is when the rule is valid.
    static bool validate(MessageRule& rule, std::shared_ptr<MFError>* error);
};

} // namespace mailhost
