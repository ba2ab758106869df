#include "mailhost/import/InputFile.h"

#include "mailhost/message/MessageBody.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace mailhost {

namespace {

platform::Error systemError(const std::filesystem::path& path, std::string_view what, int error) {
    return platform::makeError(
        "cannot " + std::string(what) + " " + path.string() + ": " + std::strerror(error), error);
}

} // namespace

InputFile::InputFile(int fd, std::filesystem::path path, std::uint64_t size, platform::Date modified)
    : fd_(fd), path_(std::move(path)), size_(size), modified_(modified) {}

InputFile::InputFile(InputFile&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), path_(std::move(other.path_)), size_(other.size_),
      modified_(other.modified_) {}

InputFile& InputFile::operator=(InputFile&& other) noexcept {
    if (this != &other) {
        if (fd_ >= 0) {
            ::close(fd_);
        }
        fd_ = std::exchange(other.fd_, -1);
        path_ = std::move(other.path_);
        size_ = other.size_;
        modified_ = other.modified_;
    }
    return *this;
}

InputFile::~InputFile() {
    if (fd_ >= 0) {
        ::close(fd_);
    }
}

platform::Result<InputFile> InputFile::open(const std::filesystem::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return systemError(path, "open", errno);
    }
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        const int error = errno;
        ::close(fd);
        return systemError(path, "read", error);
    }
    if (S_ISDIR(info.st_mode)) {
        ::close(fd);
        return systemError(path, "read", EISDIR);
    }
    const double modified =
        static_cast<double>(info.st_mtim.tv_sec) + static_cast<double>(info.st_mtim.tv_nsec) / 1e9;
    return InputFile(fd, path, static_cast<std::uint64_t>(info.st_size), platform::Date::fromUnix(modified));
}

platform::Result<std::size_t> InputFile::read(char* into, std::size_t capacity) {
    while (true) {
        const ssize_t got = ::read(fd_, into, capacity);
        if (got >= 0) {
            return static_cast<std::size_t>(got);
        }
        if (errno != EINTR) {
            return systemError(path_, "read", errno);
        }
    }
}

platform::Result<std::string> InputFile::readAll(std::uint64_t maxBytes) {
    const auto tooLarge = [&] {
        return platform::makeError(path_.string() + " is larger than " + MessageBody::describeSize(maxBytes) +
                                   "; skipped");
    };
    if (size_ > maxBytes) {
        return tooLarge();
    }
    std::string bytes(static_cast<std::size_t>(size_), '\0');
    std::size_t filled = 0;
    while (true) {
        if (filled == bytes.size()) {
            // The file may have grown since it was measured; read on in steps.
            bytes.resize(bytes.size() + 64 * 1024);
        }
        auto got = LUMETTA_TRY(read(bytes.data() + filled, bytes.size() - filled));
        if (got == 0) {
            break;
        }
        filled += got;
        if (filled > maxBytes) {
            return tooLarge();
        }
    }
    bytes.resize(filled);
    return bytes;
}

} // namespace mailhost
