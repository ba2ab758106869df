#pragma once

#include "mailhost/cli/LibraryCommands.h"
#include "mailhost/criteria/MessageCriterion.h"
#include "mailhost/mail/Library.h"
#include "platform/foundation/Result.h"

#include <memory>
#include <string>
#include <vector>

namespace mailhost {

// Which messages a command works on, as the command line names them: message numbers,
// every message of a mailbox (--in), what a smart mailbox holds now (--smart), or the
// messages matching criteria (--where, within --in when given).
class MessageSelection {
public:
    struct Options {
        std::vector<std::string> ids;
        std::string mailbox;
        std::string smart;
        std::vector<std::string> where;
        bool any = false; // --where: one criterion is enough
    };

    // Checks the combination and reads the criteria, before anything is opened; the
    // error's code is the exit status.
    [[nodiscard]] static platform::Result<MessageSelection> read(const Options& options);

    // The messages, in the order `lumetta ls` lists them; an error (code = exit status)
    // for a number, mailbox or smart mailbox that does not exist.
    [[nodiscard]] platform::Result<MessageList> resolve(Library& library) const;

    // How the selection was given, for messages ("mailbox INBOX", "3 message numbers").
    std::string describe() const;

private:
    explicit MessageSelection(Options options) : options_(std::move(options)) {}
    platform::Result<MessageList> mailboxMessages(Library& library) const;

    Options options_;
    std::shared_ptr<MessageCriterion> criteria_;
};

} // namespace mailhost
