#pragma once

#include "platform/foundation/Result.h"

#include <string>
#include <string_view>

namespace mailhost {

// What may name a mailbox. The parts of a name, separated by "/", become nested
// folders of the library ("Projects/Apollo" is Projects.mbox/Apollo.mbox), so a name
// that could lead out of the library or into nowhere is refused wherever a name comes
// in: an empty part, ".", "..", a leading "/". So is a control character: a line
// break or a tab in a name would split every listing and rules file line it is in.
class MailboxName {
public:
    // Fails with a message naming the mailbox and what is wrong with the name.
    [[nodiscard]] static platform::Result<void> check(std::string_view name);
    // Only what every name shown in a listing needs: not empty, no control character.
    // For mailboxes that are no folder (smart mailboxes).
    [[nodiscard]] static platform::Result<void> checkText(std::string_view name);

    // The name as an error message quotes it: control characters as escapes (\n, \t,
    // \x01), so that the message stays on one line and shows what is there.
    static std::string quoted(std::string_view name);
};

} // namespace mailhost
