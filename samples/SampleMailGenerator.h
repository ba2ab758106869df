#pragma once

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

namespace samples {

// Realistic mail with a fixed seed, the same bytes on every run: encoded and raw 8-bit
// headers, replies, HTML alternatives and attachments. Used for the bundled sample
// library and for benchmarks, so both measure the same kind of mail.
class SampleMailGenerator {
public:
    // Appends `count` messages to `out` as mbox entries (From_ lines quoted); with
    // `sent` every message is from the library's owner.
    void writeMbox(std::ostream& out, int count, bool sent = false);
    // Writes `count` messages into the Maildir `folder` (made with cur/, new/ and tmp/ when
    // missing), one file each in cur/ marked seen, named after their serial number so that
    // the same call makes the same files. Every other message is one the owner sent, as in
    // a mail archive holding both directions: the received half is exactly the messages
    // addressed to the owner. False when a file cannot be written.
    bool writeMaildir(const std::filesystem::path& folder, int count);
    // The next message on its own (LF line endings), as writeMbox would append it.
    std::string nextMessage(bool sent = false);

private:
    std::uint64_t state_ = 0x2545F4914F6CDD1DULL;
    std::vector<std::string> ids_;
    int serial_ = 1;
    std::time_t when_ = 1767225600; // 2026-01-01
};

} // namespace samples
