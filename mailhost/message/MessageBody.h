#pragma once

#include "platform/foundation/Result.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace mailhost {

// One attached file of a message.
struct AttachmentInfo {
    std::string filename;    // decoded; empty when the part names no file
    std::string contentType; // "application/pdf", lower case
    std::uint64_t size = 0;  // decoded bytes
    // False for a part whose bytes are not in the message: the client's partial
    // files keep only the part's headers, with the real size in X-Apple-Content-Length
    // (which `size` then reports), and store the file beside the message.
    bool contentPresent = true;

    friend bool operator==(const AttachmentInfo&, const AttachmentInfo&) = default;
};

// The MIME body of one message, parsed with GMime.
//
// What counts as an attachment: a part marked "attachment", any part that names a file
// (inline pictures included), any other non-text leaf part, and an attached message
// (message/rfc822 marked "attachment"). Text parts without a file name are the body;
// signatures and encrypted payloads are neither text nor attachments. Unterminated
// multiparts (a missing closing boundary) read up to the end of the bytes.
class MessageBody {
public:
    [[nodiscard]] static platform::Result<MessageBody> parse(std::string_view messageBytes);

    MessageBody(MessageBody&&) noexcept;
    MessageBody& operator=(MessageBody&&) noexcept;
    ~MessageBody();

    // The text a reader sees, in UTF-8 with LF line ends, for the full-text index:
    // the text/plain parts; where an alternative offers no plain text, its HTML with
    // the markup stripped. Attached files are not part of it.
    std::string text() const;
    std::vector<AttachmentInfo> attachments() const;

    // parse(messageBytes) and text() in one step.
    [[nodiscard]] static platform::Result<std::string> textContent(std::string_view messageBytes);

    // The same message with every attachment replaced by a short text/plain part that
    // names it ("Attachment removed: report.pdf (application/pdf, 120 KB)"). The
    // message's header fields are kept as they were; GMime writes the result. A
    // message without attachments comes back byte for byte unchanged.
    [[nodiscard]] static platform::Result<std::string> removingAttachments(std::string_view messageBytes);

    // "12 bytes", "120 KB", "3.4 MB", counting in units of 1024.
    static std::string describeSize(std::uint64_t bytes);

private:
    struct Parsed;
    explicit MessageBody(std::unique_ptr<Parsed> parsed);

    std::unique_ptr<Parsed> parsed_;
};

} // namespace mailhost
