#include "platform/appleevents/AEServer.h"

#include "platform/appleevents/AEFlattener.h"
#include "platform/appleevents/AEFrame.h"
#include "platform/appleevents/AESocketPath.h"
#include "platform/appleevents/AESocketTransport.h"
#include "platform/foundation/Log.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace platform::appleevents {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMaxClients = 64;
constexpr auto kIdleLimit = std::chrono::seconds(60);
constexpr int kPollMilliseconds = 1000;

Error systemError(const std::string& what, int err) {
    return makeError(what + ": " + std::strerror(err), err);
}

} // namespace

struct AEServer::Client {
    UniqueFd fd;
    std::string input;
    std::string output;
    Clock::time_point lastActive = Clock::now();
    bool ended = false;  // the peer sent its last byte
    bool broken = false; // close without further ado
};

Result<std::unique_ptr<AEServer>> AEServer::listen(std::string_view bundleIdentifier,
                                                   AEEventHandler handler) {
    auto path = LUMETTA_TRY(AESocketPath::forBundleIdentifier(bundleIdentifier));
    LUMETTA_TRY_VOID(AESocketPath::ensureFolder());
    return listenAt(path, std::move(handler));
}

Result<std::unique_ptr<AEServer>> AEServer::listenAt(const std::filesystem::path& socketPath,
                                                     AEEventHandler handler) {
    if (!AESocketPath::fitsSocketAddress(socketPath))
        return makeError("the socket path " + socketPath.string() + " is too long", ENAMETOOLONG);
    struct stat existing {};
    if (::lstat(socketPath.c_str(), &existing) == 0) {
        if (!S_ISSOCK(existing.st_mode))
            return makeError(socketPath.string() + " exists and is not a socket", EEXIST);
        if (AESocketTransport::answers(socketPath))
            return makeError("another application already answers at " + socketPath.string(), EADDRINUSE);
        ::unlink(socketPath.c_str()); // left behind by an application that ended
    }

    UniqueFd listener(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!listener)
        return systemError("cannot make a socket", errno);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, socketPath.c_str(), socketPath.native().size());
    if (::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return systemError("cannot listen at " + socketPath.string(), errno);
    ::chmod(socketPath.c_str(), 0600);
    struct stat bound {};
    if (::listen(listener.get(), 128) != 0 || ::stat(socketPath.c_str(), &bound) != 0) {
        const int err = errno;
        ::unlink(socketPath.c_str());
        return systemError("cannot listen at " + socketPath.string(), err);
    }
    int wake[2];
    if (::pipe2(wake, O_CLOEXEC | O_NONBLOCK) != 0) {
        const int err = errno;
        ::unlink(socketPath.c_str());
        return systemError("cannot make a pipe", err);
    }
    std::unique_ptr<AEServer> server(new AEServer(socketPath, std::move(listener), UniqueFd(wake[0]),
                                                  UniqueFd(wake[1]), std::move(handler)));
    server->device_ = bound.st_dev;
    server->inode_ = bound.st_ino;
    return server;
}

AEServer::AEServer(std::filesystem::path path, UniqueFd listener, UniqueFd wakeRead, UniqueFd wakeWrite,
                   AEEventHandler handler)
    : path_(std::move(path)), listener_(std::move(listener)), wakeRead_(std::move(wakeRead)),
      wakeWrite_(std::move(wakeWrite)), handler_(std::move(handler)) {}

AEServer::~AEServer() {
    stop();
    if (thread_.joinable())
        thread_.join();
    // Remove the socket only if it is still ours: a later server may have replaced it.
    struct stat current {};
    if (::stat(path_.c_str(), &current) == 0 && current.st_dev == device_ && current.st_ino == inode_)
        ::unlink(path_.c_str());
}

void AEServer::start() {
    if (!thread_.joinable())
        thread_ = std::thread([this] { run(); });
}

void AEServer::stop() {
    stopping_.store(true);
    const char byte = 0;
    [[maybe_unused]] const ssize_t ignored = ::write(wakeWrite_.get(), &byte, 1);
}

void AEServer::run() {
    std::vector<Client> clients;
    std::vector<pollfd> polled;
    while (!stopping_.load()) {
        polled.clear();
        polled.push_back({wakeRead_.get(), POLLIN, 0});
        polled.push_back({listener_.get(), POLLIN, 0});
        for (const Client& c : clients)
            polled.push_back(
                {c.fd.get(), static_cast<short>(c.output.empty() ? POLLIN : POLLIN | POLLOUT), 0});
        if (::poll(polled.data(), polled.size(), kPollMilliseconds) < 0 && errno != EINTR) {
            Log::line(std::string("Apple Event server stops: ") + std::strerror(errno));
            return;
        }
        const auto now = Clock::now();
        for (std::size_t i = 0; i + 2 < polled.size() && i < clients.size(); ++i) {
            Client& c = clients[i];
            if (polled[i + 2].revents & (POLLIN | POLLHUP | POLLERR))
                readClient(c);
            if (!c.output.empty() && !c.broken)
                flushClient(c);
            if (now - c.lastActive > kIdleLimit)
                c.broken = true;
        }
        std::erase_if(clients, [](const Client& c) { return c.broken || (c.ended && c.output.empty()); });
        // Last, so that the indices of `polled` matched `clients` above.
        if (polled[1].revents & POLLIN)
            acceptClients(clients);
    }
    char drain[64];
    while (::read(wakeRead_.get(), drain, sizeof drain) > 0) {
    }
}

void AEServer::acceptClients(std::vector<Client>& clients) {
    for (;;) {
        UniqueFd fd(::accept4(listener_.get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (!fd)
            return;
        if (clients.size() >= kMaxClients) {
            const auto quietest =
                std::min_element(clients.begin(), clients.end(), [](const Client& a, const Client& b) {
                    return a.lastActive < b.lastActive;
                });
            clients.erase(quietest);
        }
        clients.push_back(Client{std::move(fd), {}, {}, Clock::now(), false, false});
    }
}

void AEServer::readClient(Client& client) {
    char chunk[16384];
    for (;;) {
        const ssize_t n = ::recv(client.fd.get(), chunk, sizeof chunk, 0);
        if (n > 0) {
            client.input.append(chunk, static_cast<std::size_t>(n));
            client.lastActive = Clock::now();
            continue;
        }
        if (n == 0)
            client.ended = true;
        else if (errno == EINTR)
            continue;
        else if (errno != EAGAIN)
            client.broken = true;
        break;
    }
    // Answer every complete request; a partial one waits for more bytes.
    while (!client.broken) {
        auto taken = AEFrame::take(client.input);
        if (!taken || (taken.value() && taken.value()->kind == AEFrame::Kind::Reply)) {
            Log::line("Apple Event server dropped a connection: " +
                      (taken ? std::string("it sent a reply frame") : taken.error().message));
            client.broken = true;
            return;
        }
        if (!taken.value())
            break;
        const AEFrame& frame = *taken.value();
        auto request = AEFlattener::unflattenEvent(frame.payload);
        if (!request) {
            Log::line("Apple Event server dropped a connection: " + request.error().message);
            client.broken = true;
            return;
        }
        const AppleEvent reply = answerRequest(handler_, request.value());
        if (frame.kind == AEFrame::Kind::WaitingRequest)
            client.output += AEFrame::encode(AEFrame::Kind::Reply, AEFlattener::flatten(reply));
    }
    // Bytes of an unfinished frame from a peer that has stopped sending will never complete.
    if (client.ended && !client.input.empty())
        client.broken = true;
}

void AEServer::flushClient(Client& client) {
    while (!client.output.empty()) {
        const ssize_t n = ::send(client.fd.get(), client.output.data(), client.output.size(), MSG_NOSIGNAL);
        if (n > 0) {
            client.output.erase(0, static_cast<std::size_t>(n));
            client.lastActive = Clock::now();
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && errno != EAGAIN)
            client.broken = true; // the sender went away; its reply has no one to go to
        return;
    }
}

} // namespace platform::appleevents
