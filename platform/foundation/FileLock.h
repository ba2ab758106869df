#pragma once

#include "platform/foundation/Result.h"

#include <filesystem>

namespace platform {

// An exclusive advisory lock on a lock file, held for as long as the object lives, so
// that a read-change-write of a shared file is serialised across processes (and across
// threads that each take their own lock). The lock file is created when missing and
// left in place: removing it would let two programs lock two different files.
class FileLock {
public:
    // Waits until the lock is free.
    [[nodiscard]] static Result<FileLock> acquire(const std::filesystem::path& lockFile);

    FileLock(FileLock&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
    FileLock& operator=(FileLock&& other) noexcept;
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock();

private:
    explicit FileLock(int fd) : fd_(fd) {}

    int fd_;
};

} // namespace platform
