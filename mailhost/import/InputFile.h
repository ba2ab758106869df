#pragma once

#include "platform/foundation/Date.h"
#include "platform/foundation/Result.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace mailhost {

// A file opened for reading, closed when the object goes; errors are values that name
// the file and the system's reason.
class InputFile {
public:
    [[nodiscard]] static platform::Result<InputFile> open(const std::filesystem::path& path);

    InputFile(InputFile&& other) noexcept;
    InputFile& operator=(InputFile&& other) noexcept;
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;
    ~InputFile();

    // Up to `capacity` bytes into `into`; 0 at the end of the file.
    [[nodiscard]] platform::Result<std::size_t> read(char* into, std::size_t capacity);
    // The rest of the file, refused (without reading it) when it is larger than maxBytes.
    [[nodiscard]] platform::Result<std::string> readAll(std::uint64_t maxBytes);

    // Size and modification time when the file was opened.
    std::uint64_t size() const { return size_; }
    platform::Date modificationDate() const { return modified_; }

private:
    InputFile(int fd, std::filesystem::path path, std::uint64_t size, platform::Date modified);

    int fd_ = -1;
    std::filesystem::path path_;
    std::uint64_t size_ = 0;
    platform::Date modified_;
};

} // namespace mailhost
