#pragma once

#include "platform/foundation/Date.h"
#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Result.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace mailhost {

// One message read from a source, ready for the library to store.
struct ImportedMessage {
    // The message as RFC 822 bytes, line ends as the source had them.
    std::string bytes;
    // Where it came from, for messages to the user: "Archive.mbox:line 1234" for an
    // mbox entry (the line of its "From " separator), the file's path otherwise.
    std::string origin;
    // Where the entry starts in its file: an mbox entry's "From " line, the message
    // after the byte-count line of an .emlx file, 0 for one-message files.
    std::uint64_t byteOffset = 0;
    // State the source records: Maildir flags, the flags word of an .emlx file.
    bool read = false;
    bool flagged = false;
    bool answered = false;
    bool draft = false;
    bool deleted = false;
    bool forwarded = false;
    // When the message arrived, as far as the source knows: the date of an mbox
    // "From " line when it can be read, an .emlx file's own record, otherwise the
    // file's modification time.
    std::optional<platform::Date> receivedDate;
    // What the source's own record holds beside the flags and dates, for the stored
    // message to keep: a colour, the tags of a plug-in, what other programs wrote into
    // an .emlx file's property list. Empty for other sources.
    platform::Dictionary properties;
};

// A place messages are imported from, read one message at a time with memory bounded
// by the largest message, never by the size of the source.
class MessageSource {
public:
    // Entries larger than this are reported and skipped rather than held in memory.
    static constexpr std::uint64_t kDefaultMaxMessageBytes = 256ull * 1024 * 1024;

    virtual ~MessageSource() = default;

    // Reads the next message into `out` (all its fields are replaced): true when there
    // was one, false at the end. An entry that cannot be imported is an error naming
    // its origin; calling next() again goes on with the entry after it. When the
    // source itself fails (a read error), the error says so and the next call
    // answers false.
    [[nodiscard]] virtual platform::Result<bool> next(ImportedMessage& out) = 0;

    // Progress: bytes of the source consumed so far, out of the total.
    virtual std::uint64_t bytesRead() const = 0;
    virtual std::uint64_t totalBytes() const = 0;

    // Picks the reader for `path`: a folder with cur/ or new/ is a Maildir; a folder
    // holding an "mbox" file (how mail clients export a mailbox) is that mbox; a file
    // that starts with "From " or is named *.mbox is an mbox; *.emlx is one message in
    // the library's own format; any other file is one message (.eml).
    [[nodiscard]] static platform::Result<std::unique_ptr<MessageSource>>
    open(const std::filesystem::path& path);
};

} // namespace mailhost
