#pragma once

#include "mailhost/import/MessageSource.h"

#include <string_view>
#include <vector>

namespace mailhost {

// Reads the messages of a Maildir folder: every file in new/ and cur/ (never tmp/,
// where deliveries are still being written, and no dot files), in the order of their
// names, which Maildir writers start with the delivery time. One file is in memory at
// a time.
class MaildirReader final : public MessageSource {
public:
    struct Flags {
        bool read = false;      // S (seen)
        bool answered = false;  // R (replied)
        bool flagged = false;   // F
        bool draft = false;     // D
        bool deleted = false;   // T (trashed)
        bool forwarded = false; // P (passed)
        friend bool operator==(const Flags&, const Flags&) = default;
    };

    // The flags of the ":2,<letters>" suffix of a Maildir file name. Lower-case
    // letters (keywords of some servers) and other info forms carry no flags.
    static Flags flagsFromName(std::string_view filename);

    // Fails unless `folder` is a folder with cur/ or new/ in it.
    [[nodiscard]] static platform::Result<std::unique_ptr<MaildirReader>>
    open(const std::filesystem::path& folder, std::uint64_t maxMessageBytes = kDefaultMaxMessageBytes);

    [[nodiscard]] platform::Result<bool> next(ImportedMessage& out) override;
    std::uint64_t bytesRead() const override { return consumed_; }
    std::uint64_t totalBytes() const override { return total_; }

private:
    struct Entry {
        std::filesystem::path path;
        std::uint64_t size = 0;
    };

    MaildirReader(std::vector<Entry> entries, std::uint64_t maxMessageBytes);

    std::vector<Entry> entries_;
    std::size_t nextEntry_ = 0;
    std::uint64_t maxMessageBytes_;
    std::uint64_t consumed_ = 0;
    std::uint64_t total_ = 0;
};

} // namespace mailhost
