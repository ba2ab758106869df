#pragma once

#include "mailhost/cli/LibraryCommands.h"
#include "mailhost/mail/Library.h"

#include <string>

namespace mailhost {

class Json;

// How the command line shows messages: one line each (number, mailbox, date, sender,
// subject), or with --json an array of objects (id, mailbox, path, subject, from, to,
// date, flags). Every command that lists messages prints them this way, so scripts
// can read the output of one command the same as another's.
class MessageListing {
public:
    static void print(const LibraryCommands::Context& c, const MessageList& messages);
    // One message as a JSON object.
    static void writeJson(Json& json, const LibraryMessage& message);
    // ISO 8601 in UTC ("2026-11-22T09:30:00Z").
    static std::string isoDate(double sinceReference);
};

} // namespace mailhost
