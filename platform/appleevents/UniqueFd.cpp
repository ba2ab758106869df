#include "platform/appleevents/UniqueFd.h"

#include <unistd.h>

namespace platform::appleevents {

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept {
    if (this != &other)
        reset(other.release());
    return *this;
}

void UniqueFd::reset(int fd) {
    if (fd_ >= 0)
        ::close(fd_);
    fd_ = fd;
}

} // namespace platform::appleevents
