#pragma once

#include <utility>

namespace platform::appleevents {

// Sole owner of a file descriptor: closes it when destroyed. -1 owns nothing.
class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept;
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    ~UniqueFd() { reset(); }

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    void reset(int fd = -1);
    int release() { return std::exchange(fd_, -1); }

private:
    int fd_ = -1;
};

} // namespace platform::appleevents
