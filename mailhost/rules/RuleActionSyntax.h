#pragma once

#include "platform/foundation/Result.h"

#include <string>
#include <string_view>
#include <vector>

namespace mailhost {

class MessageRule;

// Rule actions as a person types them: NAME, NAME=VALUE or due+=DAYS (`move=Archive`,
// `flag`, `project=Accounts`, `note-append=Paid on $date`). The client's own actions set
// the rule's properties; the tag actions, which a bundle carries out, go into the rule's
// extra dictionary under the keys that bundle reads (the client only spells them here so
// a person can type them, as the criteria forms spell the tag criteria). The same table
// turns a rule back into its typed actions.
class RuleActionSyntax {
public:
    // The error code of apply(), as an exit status: text that does not read.
    static constexpr int kNotReadable = 2;

    // Adds the action to `rule`. Actions that take a list (keywords, recipients) add to it;
    // the others replace what the rule had.
    [[nodiscard]] static platform::Result<void> apply(std::string_view text, MessageRule& rule);

    // Every action of the rule in its typed form, the client's own first, in a fixed order.
    static std::vector<std::string> describe(const MessageRule& rule);

    // The forms, one per line, for --help.
    static std::string help();
};

} // namespace mailhost
