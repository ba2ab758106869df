#pragma once

#include "platform/appleevents/AEEventHandler.h"
#include "platform/appleevents/UniqueFd.h"
#include "platform/foundation/Result.h"

#include <atomic>
#include <filesystem>
#include <memory>
#include <string_view>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace platform::appleevents {

// The receiving end: an application's event socket. It accepts connections, reads
// request frames (AEFrame), gives each event to the handler and, when the sender waits,
// writes the handler's answer back as the reply.
//
//     AEHandlerTable table;                      // or any AEEventHandler
//     table.install(...);
//     auto server = AEServer::listen("com.apple.iCal", table.handler());
//     if (!server) { report server.error().message; }
//     server.value()->run();                     // serves until stop()
//
// Requests are handled one at a time, in the order they arrive, on the thread that runs
// the server, so a handler needs no locking of its own against other requests. While a
// handler works no other request is read; a slow handler makes waiting senders time out.
//
// Peers are not trusted: bytes that are not frames or events, a sender that vanishes
// mid-frame or before its reply, a connection that never says anything — each costs that
// one connection (closed, one log line), never the server. Idle connections are closed
// after a minute, and beyond 64 open connections the least recently active one goes.
class AEServer {
public:
    // Listens at the socket of `bundleIdentifier` (AESocketPath), making the private
    // socket folder if needed. An error when another application already answers there;
    // a socket left behind by one that ended is replaced.
    [[nodiscard]] static Result<std::unique_ptr<AEServer>> listen(std::string_view bundleIdentifier,
                                                                  AEEventHandler handler);
    // The same at an explicit path (an application told where to listen).
    [[nodiscard]] static Result<std::unique_ptr<AEServer>> listenAt(const std::filesystem::path& socketPath,
                                                                    AEEventHandler handler);

    // Stops serving, waits for a thread started by start(), and removes the socket file
    // (when it is still this server's).
    ~AEServer();
    AEServer(const AEServer&) = delete;
    AEServer& operator=(const AEServer&) = delete;

    // Serves on the calling thread until stop(); the request being handled is finished
    // and answered first.
    void run();
    // Serves on a thread of its own (tests, or an application whose main thread does other
    // work). The handler then runs on that thread.
    void start();
    // Makes run() return. Callable from any thread and from a signal handler.
    void stop();

    const std::filesystem::path& socketPath() const { return path_; }

private:
    struct Client;

    AEServer(std::filesystem::path path, UniqueFd listener, UniqueFd wakeRead, UniqueFd wakeWrite,
             AEEventHandler handler);
    void acceptClients(std::vector<Client>& clients);
    void readClient(Client& client);
    void flushClient(Client& client);

    std::filesystem::path path_;
    UniqueFd listener_;
    UniqueFd wakeRead_;
    UniqueFd wakeWrite_;
    AEEventHandler handler_;
    dev_t device_ = 0;
    ino_t inode_ = 0;
    std::atomic<bool> stopping_{false};
    std::thread thread_;
};

} // namespace platform::appleevents
