#include "platform/appleevents/AEConnection.h"

#include "platform/appleevents/AECodes.h"
#include "platform/appleevents/AESocketPath.h"

#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace platform::appleevents {

namespace {

Error failure(const std::string& what, OSStatus status) {
    return makeError(what, status);
}

Error systemFailure(const std::string& what, int err, OSStatus status) {
    return makeError(what + ": " + std::strerror(err), status);
}

// Waits for `events` on `fd` until the deadline: true when ready, false when it passed.
bool waitFor(int fd, short events, const AEDeadline& deadline) {
    for (;;) {
        pollfd p{fd, events, 0};
        const int n = ::poll(&p, 1, pollMilliseconds(deadline));
        if (n > 0)
            return true;
        if (n == 0)
            return false;
        if (errno != EINTR)
            return true; // let the following call report the error
    }
}

} // namespace

Result<AEConnection> AEConnection::open(const std::filesystem::path& socketPath, const AEDeadline& deadline) {
    if (!AESocketPath::fitsSocketAddress(socketPath))
        return failure("the socket path " + socketPath.string() + " is too long", procNotFound);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, socketPath.c_str(), socketPath.native().size());
    UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!fd)
        return systemFailure("cannot make a socket", errno, memFullErr);
    for (;;) {
        if (::connect(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
            return AEConnection(std::move(fd));
        const int err = errno;
        if (err == EINTR)
            continue;
        // A full queue of connections: the application is busy; try again shortly.
        if (err == EAGAIN) {
            if (hasPassed(deadline))
                return failure("the application at " + socketPath.string() + " does not accept",
                               errAETimeout);
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
            continue;
        }
        return systemFailure("no application answers at " + socketPath.string(), err, procNotFound);
    }
}

Result<void> AEConnection::send(std::string_view bytes, const AEDeadline& deadline) {
    while (!bytes.empty()) {
        const ssize_t n = ::send(fd_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (n >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(n));
            continue;
        }
        if (errno == EINTR)
            continue;
        if (errno != EAGAIN)
            return systemFailure("the application closed the connection", errno, connectionInvalid);
        if (!waitFor(fd_.get(), POLLOUT, deadline))
            return failure("the application does not take the event", errAETimeout);
    }
    return {};
}

Result<AEFrame> AEConnection::receive(const AEDeadline& deadline) {
    char chunk[16384];
    for (;;) {
        auto taken = LUMETTA_TRY(AEFrame::take(buffer_));
        if (taken)
            return std::move(*taken);
        const ssize_t n = ::recv(fd_.get(), chunk, sizeof chunk, 0);
        if (n > 0) {
            buffer_.append(chunk, static_cast<std::size_t>(n));
            continue;
        }
        if (n == 0)
            return failure("the application closed the connection before answering", connectionInvalid);
        if (errno == EINTR)
            continue;
        if (errno != EAGAIN)
            return systemFailure("the connection to the application broke", errno, connectionInvalid);
        if (!waitFor(fd_.get(), POLLIN, deadline))
            return failure("the application did not answer in time", errAETimeout);
    }
}

} // namespace platform::appleevents
