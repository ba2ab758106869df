#pragma once

#include <cstdint>
#include <ctime>
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
    // The next message on its own (LF line endings), as writeMbox would append it.
    std::string nextMessage(bool sent = false);

private:
    std::uint64_t state_ = 0x2545F4914F6CDD1DULL;
    std::vector<std::string> ids_;
    int serial_ = 1;
    std::time_t when_ = 1767225600; // 2026-01-01
};

} // namespace samples
