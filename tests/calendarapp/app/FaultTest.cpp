// What a sender gets when the calendar dies, stays silent, babbles or cannot write — a
// status, never a hang — and that the store keeps every to-do through it.
#include "CalendarProcessSupport.h"
#include "calendarapp/store/ToDoStore.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>

namespace caltest {
namespace {

namespace fs = std::filesystem;
using namespace platform::appleevents;
using namespace calendarapp;
using namespace std::chrono_literals;

class Faults : public CalendarProcessTest {
protected:
    void SetUp() override {
        CalendarProcessTest::SetUp();
        ToDoStore direct(store());
        ASSERT_TRUE(direct.createCalendar("Work").ok());
        for (const char* summary : {"One", "Two", "Three"}) {
            ToDoProperties properties;
            properties.summary = summary;
            properties.url = std::string("message:///Messages/") + summary + ".emlx";
            auto toDo = direct.createToDo("Work", properties);
            ASSERT_TRUE(toDo.ok());
            uids_.push_back(toDo.value().uid);
        }
        before_ = snapshot();
    }

    // A calendar started now finds every to-do as it was.
    void expectEveryToDoIntact() {
        EXPECT_EQ(snapshot(), before_);
        if (!calendar_)
            start();
        for (const std::string& uid : uids_)
            EXPECT_EQ(references(ask(getEvent(toDoWithUid(uid)))).size(), 1u) << uid;
    }

    std::vector<std::string> uids_;
    std::string before_;
};

// Killed while it holds a change: the waiting sender hears the connection go, nothing was
// half written, and the next calendar takes over the socket left behind.
TEST_F(Faults, KilledMidRequest) {
    start({"--request-delay-ms", "3000"});
    std::atomic<OSStatus> status{1};
    std::thread sender(
        [&] { status = ask(setEvent(prop(pSummary, toDoWithUid(uids_[0])), roman("Lost"))).status; });
    std::this_thread::sleep_for(300ms);
    const int ended = calendar_->end(SIGKILL);
    sender.join();
    EXPECT_TRUE(WIFSIGNALED(ended));
    EXPECT_EQ(status.load(), connectionInvalid);
    EXPECT_EQ(ask(getEvent(everyCalendar())).status, procNotFound);
    calendar_.reset();
    expectEveryToDoIntact();
}

// Something else at the calendar's socket: silent, garbled or hanging up.
TEST_F(Faults, ImpostorsGiveStatusesInTime) {
    struct Case {
        const char* name;
        std::string answer; // bytes written back after the request; empty: none
        bool holdOpen;      // keep the connection until the sender gave up
        OSStatus status;
    };
    const Case cases[] = {
        {"accepts and never answers", "", true, errAETimeout},
        {"answers garbage", std::string("\x00\x00\x00\x09Rgarbage!", 13), false, errAECorruptData},
        {"answers text", "HTTP/1.1 200 OK\r\n\r\n", false, errAECorruptData},
        {"hangs up", "", false, connectionInvalid},
    };
    const fs::path socket = calendarSocket();
    for (const Case& c : cases) {
        auto listener = listenAsImpostor(socket);
        std::atomic<bool> senderDone{false};
        std::thread impostor([&] {
            UniqueFd accepted(::accept(listener.get(), nullptr, nullptr));
            char request[4096];
            (void)::recv(accepted.get(), request, sizeof request, 0);
            if (!c.answer.empty())
                (void)::send(accepted.get(), c.answer.data(), c.answer.size(), MSG_NOSIGNAL);
            while (c.holdOpen && !senderDone)
                std::this_thread::sleep_for(10ms);
        });
        const auto started = std::chrono::steady_clock::now();
        const Answer answer = ask(getEvent(toDoWithUid(uids_[0])), 30); // half a second
        senderDone = true;
        EXPECT_EQ(answer.status, c.status) << c.name;
        EXPECT_TRUE(answer.reply.isNull()) << c.name;
        EXPECT_LT(std::chrono::steady_clock::now() - started, 2s) << c.name;
        impostor.join();
        listener.reset();
        ::unlink(socket.c_str());
    }
    expectEveryToDoIntact();
}

// A calendar folder made read-only: every change is refused with errAEWriteDenied and the
// store's reason, reading goes on, and no file changes.
TEST_F(Faults, ReadOnlyStoreRefusesChanges) {
    start();
    const fs::path folder = store() / "work";
    ASSERT_EQ(::chmod(folder.c_str(), 0555), 0);
    const AEDesc toDo = references(ask(getEvent(toDoWithUid(uids_[1])))).at(0);
    AppleEvent remove = calendarEvent(kAECoreSuite, kAEDelete);
    remove.setParam(keyDirectObject, toDo);
    const AppleEvent changes[] = {
        setEvent(prop(pSummary, toDo), roman("Nope")),
        setEvent(prop(pPriority, toDo), AEDesc::enumerated(kPriorityHigh)),
        makeToDoEvent("Work", AEDesc::record(typeAERecord, {{pSummary, roman("New")}})),
        makeAlarmEvent(toDo, 1898593200.0),
        remove,
    };
    for (const AppleEvent& change : changes) {
        const Answer answer = ask(change);
        EXPECT_EQ(answer.status, noErr);
        EXPECT_EQ(answer.error(), errAEWriteDenied) << osTypeString(change.eventID());
        EXPECT_NE(answer.errorText().find("read-only"), std::string::npos) << answer.errorText();
    }
    EXPECT_EQ(ask(getEvent(prop(pSummary, toDo))).result()->stringValue(), "Two");
    ASSERT_EQ(::chmod(folder.c_str(), 0700), 0);
    expectEveryToDoIntact();
}

} // namespace
} // namespace caltest
