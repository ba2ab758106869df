#include "mailhost/library/RealFileLayer.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using platform::Result;

namespace mailhost {

namespace {

platform::Error systemError(const char* call) {
    const int err = errno;
    return platform::makeError(std::string(call) + ": " + std::strerror(err), err);
}

} // namespace

RealFileLayer& RealFileLayer::instance() {
    static RealFileLayer layer;
    return layer;
}

Result<int> RealFileLayer::open(const std::filesystem::path& path, int flags, mode_t mode) {
    for (;;) {
        const int fd = ::open(path.c_str(), flags | O_CLOEXEC, mode);
        if (fd >= 0)
            return fd;
        const int err = errno;
        if (err == EINTR)
            continue;
        // "Too many levels of symbolic links" would not tell the user what is wrong:
        // the file is a link that this open was told not to follow.
        struct stat entry {};
        if (err == ELOOP && (flags & O_NOFOLLOW) && ::lstat(path.c_str(), &entry) == 0 &&
            S_ISLNK(entry.st_mode))
            return platform::makeError("cannot open: it is a symbolic link, which is never followed here",
                                       ELOOP);
        errno = err;
        return systemError("cannot open");
    }
}

void RealFileLayer::close(int fd) {
    ::close(fd);
}

Result<std::size_t> RealFileLayer::pread(int fd, char* buffer, std::size_t size, std::uint64_t offset) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = ::pread(fd, buffer + done, size - done, static_cast<off_t>(offset + done));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return systemError("cannot read");
        }
        if (n == 0)
            break;
        done += static_cast<std::size_t>(n);
    }
    return done;
}

Result<void> RealFileLayer::pwrite(int fd, std::string_view bytes, std::uint64_t offset) {
    while (!bytes.empty()) {
        const ssize_t n = ::pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return systemError("cannot write");
        }
        if (n == 0)
            return platform::makeError("cannot write: no progress", EIO);
        bytes.remove_prefix(static_cast<std::size_t>(n));
        offset += static_cast<std::uint64_t>(n);
    }
    return {};
}

Result<void> RealFileLayer::ftruncate(int fd, std::uint64_t size) {
    while (::ftruncate(fd, static_cast<off_t>(size)) != 0)
        if (errno != EINTR)
            return systemError("cannot set the size");
    return {};
}

Result<void> RealFileLayer::fsync(int fd) {
    if (::fsync(fd) != 0)
        return systemError("cannot flush to disk");
    return {};
}

Result<void> RealFileLayer::syncfs(int fd) {
    if (::syncfs(fd) != 0)
        return systemError("cannot flush the file system to disk");
    return {};
}

Result<FileLayer::Status> RealFileLayer::fstat(int fd) {
    struct stat st {};
    if (::fstat(fd, &st) != 0)
        return systemError("cannot read the file's status");
    return Status{static_cast<std::uint64_t>(st.st_size), st.st_mode};
}

Result<void> RealFileLayer::fchmod(int fd, mode_t mode) {
    if (::fchmod(fd, mode) != 0)
        return systemError("cannot set the permissions");
    return {};
}

Result<void> RealFileLayer::rename(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (::rename(from.c_str(), to.c_str()) != 0)
        return systemError("cannot rename");
    return {};
}

Result<void> RealFileLayer::unlink(const std::filesystem::path& path) {
    if (::unlink(path.c_str()) != 0)
        return systemError("cannot remove");
    return {};
}

Result<void> RealFileLayer::lock(int fd) {
    while (::flock(fd, LOCK_EX) != 0)
        if (errno != EINTR)
            return systemError("cannot lock");
    return {};
}

void RealFileLayer::unlock(int fd) {
    ::flock(fd, LOCK_UN);
}

} // namespace mailhost
