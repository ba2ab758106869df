#pragma once

#include "mailhost/mail/Library.h"
#include "platform/foundation/Date.h"

#include <optional>
#include <string>
#include <vector>

namespace mailhost {

class MessageRule;

// The messages a rule sends in answer to the mail it matched, written into the Outbox
// (made when missing) as outgoing messages for delivery to send:
//   forward   to the rule's recipients, the original attached whole (message/rfc822);
//   reply     to the original's Reply-To (else From), quoting its text;
//   redirect  the original unchanged, with Resent- fields naming the rule's recipients.
class AutoResponse {
public:
    static constexpr const char* kOutbox = "Outbox";

    // The response's bytes (LF line ends); nothing when there is no one to send it to.
    static std::optional<std::string> compose(int type, const std::vector<std::string>& recipients,
                                              const Message& original, platform::Date now);

    // Composes and stores one response per message; failures are logged.
    static void send(const MessageRule& rule, const MessageList& messages);
};

} // namespace mailhost
