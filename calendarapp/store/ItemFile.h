#pragma once

#include "platform/foundation/Date.h"
#include "platform/foundation/Result.h"

#include <cstdint>
#include <filesystem>
#include <string>

namespace calendarapp {

// Which version of a file is on disk. Other programs replace item files by rename (a new
// inode) or rewrite them in place (a new size or modification time); either changes this.
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t modifiedNanoseconds = 0; // since the Unix epoch
    unsigned mode = 0;

    platform::Date modified() const;
    bool writable() const; // any write permission bit set
    friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

// Reading one item file together with the identity of exactly the bytes read.
class ItemFile {
public:
    // Item files are small; anything larger than this is not a to-do and is not loaded.
    static constexpr std::int64_t kMaximumSize = 8 * 1024 * 1024;

    struct Contents {
        std::string bytes;
        FileIdentity identity;
    };

    static platform::Result<FileIdentity> identify(const std::filesystem::path& path);
    static platform::Result<Contents> read(const std::filesystem::path& path);
};

} // namespace calendarapp
