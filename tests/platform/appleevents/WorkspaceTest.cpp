#include "platform/appleevents/Workspace.h"

#include "RuntimeFolderSupport.h"
#include "platform/appleevents/AESend.h"
#include "platform/appleevents/AEServer.h"
#include "platform/appleevents/AESocketPath.h"
#include "platform/appleevents/AESocketTransport.h"
#include "platform/appleevents/ApplicationRegistry.h"
#include "platform/foundation/Log.h"

#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

namespace platform::appleevents {
namespace {

using namespace std::chrono_literals;
using testing::ScopedRuntimeFolder;

constexpr const char* kLaunched = "org.lumetta.test.launched";
constexpr const char* kServeVariable = "LUMETTA_AE_TEST_SERVE";
constexpr AEEventID kQuit = fourCharCode("quit");

// Not a test: the program the launch tests start (this test binary, told to run only
// this). It answers 'getd' with its process ID and the last 'oapp' direct object.
TEST(LaunchedApplication, DISABLED_ServesUntilQuit) {
    const char* identifier = std::getenv(kServeVariable);
    ASSERT_NE(identifier, nullptr);
    AEServer* running = nullptr;
    AEDesc opened;
    auto server = AEServer::listen(identifier, [&](const AppleEvent& event) {
        if (event.eventID() == kQuit)
            running->stop();
        if (event.eventID() == kAEOpenApplication)
            opened = *event.directObject();
        AppleEvent reply = AppleEvent::replyTo(event);
        reply.setParam(keyDirectObject, AEDesc::longInteger(::getpid()));
        reply.setParam(keyAEData, opened);
        return reply;
    });
    ASSERT_TRUE(server.ok());
    running = server.value().get();
    running->run();
}

class Launching : public ::testing::Test {
protected:
    void SetUp() override {
        ::setenv(kServeVariable, kLaunched, 1);
        const auto self = std::filesystem::read_symlink("/proc/self/exe");
        ApplicationRegistry::registerApplication(
            kLaunched, {self,
                        {"--gtest_filter=LaunchedApplication.DISABLED_ServesUntilQuit",
                         "--gtest_also_run_disabled_tests"}});
    }

    void TearDown() override {
        (void)AESendMessage(AppleEvent::toBundleIdentifier(kCoreEventClass, kQuit, kLaunched), nullptr, 0x11,
                            60);
        const auto socket = AESocketPath::forBundleIdentifier(kLaunched).value();
        for (int i = 0; i < 300 && AESocketTransport::answers(socket); ++i)
            std::this_thread::sleep_for(10ms);
        ApplicationRegistry::unregisterApplication(kLaunched);
        ::unsetenv(kServeVariable);
    }

    ScopedRuntimeFolder folder;
    Workspace& workspace = Workspace::sharedWorkspace();
};

// The program starts in a session of its own, answers as soon as the launch returns,
// gets the launch's descriptor, and is then listed; a second launch starts nothing.
TEST_F(Launching, StartsTheProgramDetachedAndReturnsWhenItAnswers) {
    EXPECT_EQ(workspace.launchedApplications().count(), 0u);
    Value launchIdentifier;
    const AEDesc greeting = AEDesc::text("hello");
    const auto launched = workspace.launchAppWithBundleIdentifier(
        kLaunched, NSWorkspaceLaunchWithoutActivation, &greeting, &launchIdentifier);
    ASSERT_TRUE(launched.ok()) << launched.error().message;
    const auto pid = static_cast<pid_t>(launchIdentifier.integerValue());
    EXPECT_NE(pid, ::getpid());
    EXPECT_NE(::getsid(pid), ::getsid(0));

    AppleEvent reply;
    ASSERT_EQ(
        AESendMessage(AppleEvent::toBundleIdentifier(fourCharCode("core"), fourCharCode("getd"), kLaunched),
                      &reply, 0x13, kAEDefaultTimeout),
        noErr);
    EXPECT_EQ(reply.directObject()->int32Value(), pid);
    EXPECT_EQ(*reply.param(keyAEData), greeting);

    const Array running = workspace.launchedApplications();
    ASSERT_EQ(running.count(), 1u);
    EXPECT_EQ(running.at(0).dictionary()->get("NSApplicationBundleIdentifier"), Value(kLaunched));
    Value again;
    EXPECT_TRUE(workspace.launchAppWithBundleIdentifier(kLaunched, 0, nullptr, &again).ok());
    EXPECT_TRUE(again.isNull());
}

TEST_F(Launching, FailuresHaveStatuses) {
    ApplicationRegistry::registerApplication("org.lumetta.test.quits", {"/bin/true", {}});
    ApplicationRegistry::registerApplication("org.lumetta.test.missing", {"/nonexistent/program", {}});
    ::setenv("LUMETTA_CALENDAR_EXECUTABLE", "/nonexistent/lumetta-calendar", 1);
    const std::pair<const char*, OSStatus> cases[] = {
        {"org.lumetta.test.quits", procNotFound},
        {"org.lumetta.test.missing", ENOENT},
        {"org.lumetta.test.unknown", fnfErr},
        {"com.apple.iCal", fnfErr},
        {"../escape", paramErr},
    };
    for (const auto& [identifier, status] : cases) {
        const auto launched = workspace.launchAppWithBundleIdentifier(identifier, 0, nullptr, nullptr);
        ASSERT_FALSE(launched.ok()) << identifier;
        EXPECT_EQ(launched.error().code, status) << identifier << ": " << launched.error().message;
    }
    ::unsetenv("LUMETTA_CALENDAR_EXECUTABLE");

    // A program that never answers: the launch gives up after its timeout.
    ApplicationRegistry::registerApplication("org.lumetta.test.mute", {"/bin/sleep", {"30"}});
    workspace.setLaunchTimeout(300ms);
    Value pid;
    const auto mute = workspace.launchAppWithBundleIdentifier("org.lumetta.test.mute", 0, nullptr, &pid);
    workspace.setLaunchTimeout(10s);
    ASSERT_FALSE(mute.ok());
    EXPECT_EQ(mute.error().code, errAETimeout);
    ::kill(static_cast<pid_t>(pid.integerValue()), SIGKILL);
}

TEST(ApplicationRegistry, CalendarProgramComesFromTheEnvironmentOrBesideTheProgram) {
    ::setenv("LUMETTA_CALENDAR_EXECUTABLE", "/bin/true", 1);
    const auto overridden = ApplicationRegistry::lookUp("com.apple.iCal");
    ::unsetenv("LUMETTA_CALENDAR_EXECUTABLE");
    ASSERT_TRUE(overridden.ok());
    EXPECT_EQ(overridden.value().executable, "/bin/true");
    const std::string path = std::getenv("PATH") ? std::getenv("PATH") : "";
    ::setenv("PATH", "", 1);
    const auto absent = ApplicationRegistry::lookUp("com.apple.iCal");
    ::setenv("PATH", path.c_str(), 1);
    ASSERT_FALSE(absent.ok()); // nothing named lumetta-calendar beside the test program
    EXPECT_EQ(absent.error().code, fnfErr);
}

// The calendar is started on demand and told to end once idle: after 300 s without a
// request, or the whole seconds of its variable (0: never); anything else there is logged
// and the default kept, so a typing slip never leaves calendars running for ever.
TEST(ApplicationRegistry, CalendarIsToldToEndWhenIdle) {
    const struct {
        const char* variable; // nullptr: unset
        std::vector<std::string> arguments;
        bool logged;
    } cases[] = {
        {nullptr, {"--exit-when-idle", "300"}, false},
        {"5", {"--exit-when-idle", "5"}, false},
        {"0", {}, false},
        {"soon", {"--exit-when-idle", "300"}, true},
        {"-3", {"--exit-when-idle", "300"}, true},
        {"2.5", {"--exit-when-idle", "300"}, true},
    };
    ::setenv("LUMETTA_CALENDAR_EXECUTABLE", "/bin/true", 1);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.variable ? c.variable : "unset");
        c.variable ? ::setenv("LUMETTA_CALENDAR_IDLE_EXIT", c.variable, 1)
                   : ::unsetenv("LUMETTA_CALENDAR_IDLE_EXIT");
        platform::ScopedLogCapture log;
        const auto calendar = ApplicationRegistry::lookUp("com.apple.iCal");
        ASSERT_TRUE(calendar.ok());
        EXPECT_EQ(calendar.value().arguments, c.arguments);
        EXPECT_EQ(log.contains("LUMETTA_CALENDAR_IDLE_EXIT"), c.logged);
    }
    ::unsetenv("LUMETTA_CALENDAR_IDLE_EXIT");
    ::unsetenv("LUMETTA_CALENDAR_EXECUTABLE");
    // What a program registers runs as registered.
    ApplicationRegistry::registerApplication("com.apple.iCal", {"/bin/true", {"--store", "/tmp/x"}});
    EXPECT_EQ(ApplicationRegistry::lookUp("com.apple.iCal").value().arguments,
              (std::vector<std::string>{"--store", "/tmp/x"}));
    ApplicationRegistry::unregisterApplication("com.apple.iCal");
}

} // namespace
} // namespace platform::appleevents
