#include "platform/foundation/FileLock.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace platform {

Result<FileLock> FileLock::acquire(const std::filesystem::path& lockFile) {
    const int fd = ::open(lockFile.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0)
        return makeError("cannot lock " + lockFile.string() + ": " + std::strerror(errno), errno);
    while (::flock(fd, LOCK_EX) != 0) {
        if (errno != EINTR) {
            const int failed = errno;
            ::close(fd);
            return makeError("cannot lock " + lockFile.string() + ": " + std::strerror(failed), failed);
        }
    }
    return FileLock(fd);
}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
    if (this != &other) {
        if (fd_ >= 0)
            ::close(fd_);
        fd_ = other.fd_;
        other.fd_ = -1;
    }
    return *this;
}

FileLock::~FileLock() {
    if (fd_ >= 0)
        ::close(fd_); // closing releases the lock
}

} // namespace platform
