#include "RawSocketSupport.h"
#include "RuntimeFolderSupport.h"
#include "platform/appleevents/AEFlattener.h"
#include "platform/appleevents/AEFrame.h"
#include "platform/appleevents/AESend.h"
#include "platform/appleevents/AEServer.h"
#include "platform/foundation/Log.h"

#include <chrono>
#include <csignal>
#include <future>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace platform::appleevents {
namespace {

using namespace std::chrono_literals;
using testing::connectRaw;
using testing::listenRaw;
using testing::ScopedRuntimeFolder;

constexpr const char* kApp = "org.lumetta.test.echo";
constexpr AEEventClass kCore = fourCharCode("core");

AppleEvent request(AEEventID id, AEDesc direct = AEDesc::text("ping")) {
    AppleEvent event = AppleEvent::toBundleIdentifier(kCore, id, kApp);
    event.setParam(keyDirectObject, std::move(direct));
    return event;
}

// Reads one request frame from a raw connection, as an application would.
AppleEvent readRequest(int fd) {
    std::string buffer;
    char chunk[4096];
    for (;;) {
        auto frame = AEFrame::take(buffer);
        if (frame.ok() && frame.value())
            return AEFlattener::unflattenEvent(frame.value()->payload).value();
        const ssize_t n = ::recv(fd, chunk, sizeof chunk, 0);
        if (n <= 0)
            return AppleEvent();
        buffer.append(chunk, static_cast<std::size_t>(n));
    }
}

// An application that echoes the direct object; 'slow' events wait until released.
class SocketServer : public ::testing::Test {
protected:
    void SetUp() override {
        auto listening = AEServer::listen(kApp, [this](const AppleEvent& event) {
            if (event.eventID() == fourCharCode("slow")) {
                entered.set_value();
                release.get_future().wait();
            }
            AppleEvent reply = AppleEvent::replyTo(event);
            reply.setParam(keyDirectObject, *event.directObject());
            return reply;
        });
        ASSERT_TRUE(listening.ok()) << listening.error().message;
        server = std::move(listening.value());
        server->start();
    }

    ScopedRuntimeFolder folder;
    std::unique_ptr<AEServer> server;
    std::promise<void> entered;
    std::promise<void> release;
};

TEST_F(SocketServer, WaitingSendGetsTheAnswer) {
    AEDesc nested = AEDesc::list({AEDesc::longDateTime(std::int64_t{3802687200}), AEDesc::record()});
    AppleEvent reply;
    ASSERT_EQ(AESendMessage(request(fourCharCode("getd"), nested), &reply, 0x13, kAEDefaultTimeout), noErr);
    EXPECT_TRUE(reply.isReply());
    EXPECT_EQ(*reply.directObject(), nested);
    struct stat info {};
    ASSERT_EQ(::stat(server->socketPath().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

// A send without reply returns while the application is still working on the event.
TEST_F(SocketServer, NoReplySendDoesNotWait) {
    auto handled = entered.get_future();
    EXPECT_EQ(AESendMessage(request(fourCharCode("slow")), nullptr, 0x11, kAEDefaultTimeout), noErr);
    ASSERT_EQ(handled.wait_for(10s), std::future_status::ready);
    release.set_value();
    AppleEvent reply;
    EXPECT_EQ(AESendMessage(request(fourCharCode("getd")), &reply, 0x13, kAEDefaultTimeout), noErr);
}

// Broken, silent and vanishing senders cost their own connection only.
TEST_F(SocketServer, SurvivesBadSenders) {
    ScopedLogCapture log;
    const std::string path = server->socketPath();
    const auto sendAndClose = [&](const std::string& bytes) {
        auto fd = connectRaw(path);
        (void)::send(fd.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    };
    sendAndClose("GET / HTTP/1.1\r\n\r\n");
    sendAndClose(std::string("\xFF\xFF\xFF\xFF", 4) + "W");
    sendAndClose(AEFrame::encode(AEFrame::Kind::WaitingRequest, "LmAE-not-an-event"));
    const std::string whole =
        AEFrame::encode(AEFrame::Kind::WaitingRequest, AEFlattener::flatten(request(0)));
    sendAndClose(whole.substr(0, whole.size() / 2));
    sendAndClose(whole); // gone before its reply
    auto silent = connectRaw(path);

    AppleEvent reply;
    ASSERT_EQ(AESendMessage(request(fourCharCode("getd")), &reply, 0x13, 5 * 60), noErr);
    EXPECT_EQ(reply.directObject()->textBytes(), "ping");
    EXPECT_TRUE(log.contains("dropped a connection"));
}

TEST_F(SocketServer, OneApplicationPerIdentifier) {
    const auto second = AEServer::listen(kApp, {});
    ASSERT_FALSE(second.ok());
    EXPECT_EQ(second.error().code, EADDRINUSE);
    const auto path = server->socketPath();
    server.reset();
    EXPECT_FALSE(std::filesystem::exists(path));
}

// Faults on the application's side give a status, within the timeout.
class SocketFaults : public ::testing::Test {
protected:
    ScopedRuntimeFolder folder;
    std::filesystem::path socket = folder.socketFor(kApp);
};

TEST_F(SocketFaults, AbsentApplicationIsNotRunning) {
    AppleEvent reply;
    EXPECT_EQ(AESendMessage(request(0), &reply, 0x13, -1), procNotFound);
    EXPECT_EQ(AESendMessage(request(0), nullptr, 0x11, -1), procNotFound);
    listenRaw(socket); // closed at once: the file stays with no one behind it
    EXPECT_EQ(AESendMessage(request(0), &reply, 0x13, -1), procNotFound);
    auto listening = listenRaw(folder.socketFor("org.lumetta.other"));
    ::chmod(socket.parent_path().c_str(), 0755); // others could have planted it
    EXPECT_EQ(AESendMessage(AppleEvent::toBundleIdentifier(kCore, 0, "org.lumetta.other"), &reply, 0x13, -1),
              procNotFound);
}

TEST_F(SocketFaults, SilentApplicationTimesOut) {
    auto listener = listenRaw(socket);
    std::thread application([&] {
        UniqueFd accepted(::accept(listener.get(), nullptr, nullptr));
        readRequest(accepted.get());
        char ignored;
        (void)::recv(accepted.get(), &ignored, 1, 0); // until the sender gives up
    });
    AppleEvent reply;
    const auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(AESendMessage(request(0), &reply, 0x13, 30), errAETimeout);
    const auto waited = std::chrono::steady_clock::now() - started;
    EXPECT_GE(waited, 490ms);
    EXPECT_LT(waited, 2500ms);
    EXPECT_TRUE(reply.isNull());
    application.join();
}

TEST_F(SocketFaults, GarbledRepliesAreCorruptData) {
    struct Case {
        const char* name;
        std::function<std::string(const AppleEvent&)> answer;
        OSStatus status;
    };
    const auto replyTo = [](const AppleEvent& r, AEReturnID id) {
        AppleEvent reply = AppleEvent::replyTo(r);
        reply.setReturnID(id);
        return AEFrame::encode(AEFrame::Kind::Reply, AEFlattener::flatten(reply));
    };
    const Case cases[] = {
        {"text", [](const AppleEvent&) { return std::string("HTTP/1.1 500 Oops\r\n\r\n"); },
         errAECorruptData},
        {"4 GB frame", [](const AppleEvent&) { return std::string("\xFF\xFF\xFF\xFFR", 5); },
         errAECorruptData},
        {"not an event", [](const AppleEvent&) { return AEFrame::encode(AEFrame::Kind::Reply, "junk"); },
         errAECorruptData},
        {"a request, not a reply",
         [](const AppleEvent& r) { return AEFrame::encode(AEFrame::Kind::Request, AEFlattener::flatten(r)); },
         errAECorruptData},
        {"another event's reply", [&](const AppleEvent& r) { return replyTo(r, r.returnID() + 1); },
         errAECorruptData},
        {"cut short", [&](const AppleEvent& r) { return replyTo(r, r.returnID()).substr(0, 12); },
         connectionInvalid},
    };
    for (const Case& c : cases) {
        auto listener = listenRaw(socket);
        std::thread application([&] {
            UniqueFd accepted(::accept(listener.get(), nullptr, nullptr));
            const std::string bytes = c.answer(readRequest(accepted.get()));
            (void)::send(accepted.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        });
        AppleEvent reply;
        EXPECT_EQ(AESendMessage(request(0), &reply, 0x13, 5 * 60), c.status) << c.name;
        EXPECT_TRUE(reply.isNull()) << c.name;
        application.join();
        listener.reset();
        ::unlink(socket.c_str());
    }
}

// An application process killed while handling a request; a new one takes over its socket.
TEST_F(SocketFaults, ApplicationKilledMidRequest) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        auto server = AEServer::listen(kApp, [](const AppleEvent&) -> AppleEvent {
            ::kill(::getpid(), SIGKILL);
            return {};
        });
        if (server)
            server.value()->run();
        ::_exit(2);
    }
    AppleEvent reply;
    OSStatus status = procNotFound;
    for (int i = 0; i < 500 && status == procNotFound; ++i) {
        std::this_thread::sleep_for(10ms);
        status = AESendMessage(request(0), &reply, 0x13, 5 * 60);
    }
    EXPECT_EQ(status, connectionInvalid);
    int waitStatus = 0;
    ASSERT_EQ(::waitpid(child, &waitStatus, 0), child);
    EXPECT_TRUE(WIFSIGNALED(waitStatus));
    EXPECT_EQ(AESendMessage(request(0), &reply, 0x13, 5 * 60), procNotFound);

    auto successor = AEServer::listen(kApp, [](const AppleEvent& e) { return AppleEvent::replyTo(e); });
    ASSERT_TRUE(successor.ok()) << successor.error().message;
    successor.value()->start();
    EXPECT_EQ(AESendMessage(request(0), &reply, 0x13, 5 * 60), noErr);
}

} // namespace
} // namespace platform::appleevents
