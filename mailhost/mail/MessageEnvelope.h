#pragma once

#include "mailhost/library/EnvelopeIndex.h"
#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Result.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace mailhost {

// What the index holds for a message, worked out from the message itself: its
// headers, and its file's property list. One place, so that storing, adopting and
// rebuilding agree on every field.
class MessageEnvelope {
public:
    struct FromFile {
        Envelope envelope;       // rowid, mailbox and partial are the caller's to set
        bool knowsFlags = false; // the property list has a flag word
        std::string problem;     // set when the property list is damaged
    };

    // Message-ID, subject, sender, recipients and date sent, from the header block.
    static void addHeaders(Envelope& envelope, std::string_view messageBytes);

    // The client writes "date-received" as Unix seconds (integer or real), later
    // versions as a date; a file without it counts as received when last written.
    static double dateReceived(const platform::Dictionary& plist, const std::filesystem::path& file);

    // An error for a file that is not a message file at all, or whose count line is
    // too small for its counted bytes to be taken as the message.
    static platform::Result<FromFile> fromFile(const std::filesystem::path& file);
};

} // namespace mailhost
