// Starting and ending lumetta-calendar: its own socket, a clean end on quit, on signals
// and once idle, and the host command line's `lumetta calendar status|start|stop`.
#include "CalendarProcessSupport.h"
#include "platform/appleevents/AESocketTransport.h"
#include "platform/appleevents/Workspace.h"
#include "support/Commands.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sys/wait.h>
#include <thread>

namespace caltest {
namespace {

namespace fs = std::filesystem;
using namespace platform::appleevents;
using namespace calendarapp;

class Lifecycle : public CalendarProcessTest {};

// The words a process was started with; empty once it is gone.
std::vector<std::string> commandLineOf(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/cmdline");
    std::vector<std::string> words;
    for (std::string word; std::getline(file, word, '\0');)
        words.push_back(word);
    return words;
}

// Whether a process that is not ours to reap has ended (gone, or a zombie).
bool endedWithin(pid_t pid, std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (;;) {
        std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
        std::string line;
        if (!std::getline(stat, line) || line.find(") Z ") != std::string::npos)
            return true;
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

// However it is told to end, it ends with status 0 and takes its socket along.
TEST_F(Lifecycle, EndsCleanlyOnQuitAndSignals) {
    const fs::path socket = calendarSocket();
    for (int how : {0, SIGTERM, SIGINT}) {
        start();
        int status = 0;
        if (how == 0) {
            EXPECT_FALSE(ask(calendarEvent(kCoreEventClass, kAEQuitApplication)).error());
            status = calendar_->end(0); // waits; signal 0 sends nothing
        } else {
            status = calendar_->end(how);
        }
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "ended by " << how << ": " << status;
        EXPECT_FALSE(fs::exists(socket)) << "ended by " << how;
        calendar_.reset();
    }
}

// Told to end when idle, it ends by itself once that long has passed without a request,
// cleanly and with its socket; a request that takes longer than that is answered first.
TEST_F(Lifecycle, EndsByItselfWhenIdle) {
    start({"--exit-when-idle", "1", "--request-delay-ms", "1500"});
    const Answer answer = ask(calendarEvent(kAECoreSuite, kAECountElements));
    EXPECT_EQ(answer.status, noErr);
    const int status = calendar_->end(0); // sends nothing; waits five seconds at most
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_FALSE(fs::exists(calendarSocket()));
}

// Started on demand, as a client's launch does, it is told its idle period and keeps to
// it; nobody has to stop it.
TEST_F(Lifecycle, StartedOnDemandEndsByItself) {
    const std::pair<const char*, std::string> environment[] = {
        {"LUMETTA_CALENDAR_EXECUTABLE", LUMETTA_CALENDAR_PROGRAM},
        {"LUMETTA_CALENDAR_IDLE_EXIT", "1"},
        {"XDG_DATA_HOME", store().string()},
    };
    std::vector<std::pair<const char*, std::optional<std::string>>> saved;
    for (const auto& [name, value] : environment) {
        const char* previous = std::getenv(name);
        saved.emplace_back(name, previous ? std::optional<std::string>(previous) : std::nullopt);
        ::setenv(name, value.c_str(), 1);
    }
    platform::Value launched;
    const auto started = Workspace::sharedWorkspace().launchAppWithBundleIdentifier(
        calendarapp::kCalendarBundleIdentifier, 0, nullptr, &launched);
    for (const auto& [name, previous] : saved)
        previous ? ::setenv(name, previous->c_str(), 1) : ::unsetenv(name);
    ASSERT_TRUE(started.ok()) << started.error().message;
    const auto pid = static_cast<pid_t>(launched.integerValue());
    const std::vector<std::string> words = commandLineOf(pid);
    EXPECT_NE(std::find(words.begin(), words.end(), "--exit-when-idle"), words.end())
        << ::testing::PrintToString(words);
    EXPECT_TRUE(endedWithin(pid, std::chrono::seconds(10))); // else TearDown ends it
    EXPECT_FALSE(AESocketTransport::answers(calendarSocket()));
}

// --socket puts it somewhere else; the calendar's own socket stays free.
TEST_F(Lifecycle, ListensWhereTold) {
    const fs::path elsewhere = store().parent_path() / (store().filename().string() + ".sock");
    CalendarProcess calendar(store(), {"--socket", elsewhere.string()}, elsewhere);
    ASSERT_TRUE(calendar.answering());
    EXPECT_FALSE(AESocketTransport::answers(calendarSocket()));
    EXPECT_EQ(calendar.end(SIGTERM), 0);
    EXPECT_FALSE(fs::exists(elsewhere));
}

// The host command line starts the program beside it, reports it and stops it.
TEST_F(Lifecycle, HostCommandLineStartsReportsAndStops) {
    const fs::path lumetta = fs::path(LUMETTA_CALENDAR_PROGRAM).parent_path() / "lumetta";
    if (!fs::exists(lumetta))
        GTEST_SKIP() << lumetta << " is not built: the host command line is not checked";
    const fs::path home = store() / "home";
    // Every start of the client starts the calendar unless the user said not to; this
    // user did, so that the command line alone decides when it runs.
    fs::create_directories(home / "config/lumetta-mail/Preferences");
    std::FILE* settings =
        std::fopen((home / "config/lumetta-mail/Preferences/lumetta-mail.plist").c_str(), "w");
    ASSERT_NE(settings, nullptr);
    std::fputs("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
               "\t<key>lumettaOpenICalAtLaunch</key>\n\t<false/>\n</dict>\n</plist>\n",
               settings);
    std::fclose(settings);
    // Started by hand, it runs until stopped, whatever the idle period of a start on demand.
    const auto run = [&](const std::string& words) {
        const auto output =
            testsupport::runCommand("LUMETTA_CALENDAR_IDLE_EXIT=1 HOME='" + home.string() +
                                    "' XDG_CONFIG_HOME='" + home.string() + "/config' XDG_DATA_HOME='" +
                                    home.string() + "/data' '" + lumetta.string() + "' calendar " + words);
        return std::make_pair(output.status, output.text);
    };
    const std::string storeLine = "store: " + home.string() + "/data/calendars";
    auto [code, output] = run("status");
    EXPECT_EQ(code, 0);
    EXPECT_NE(output.find("not running"), std::string::npos) << output;
    struct StopAnyway {
        decltype(run)& stop;
        ~StopAnyway() { stop("stop"); } // a started calendar is detached: never leave it behind
    } stopAnyway{run};
    std::tie(code, output) = run("start");
    EXPECT_EQ(code, 0) << output;
    EXPECT_NE(output.find("started"), std::string::npos) << output;
    const auto process = output.find("(process ");
    ASSERT_NE(process, std::string::npos) << output;
    const std::vector<std::string> words = commandLineOf(std::stoi(output.substr(process + 9)));
    ASSERT_FALSE(words.empty());
    EXPECT_EQ(std::find(words.begin(), words.end(), "--exit-when-idle"), words.end())
        << ::testing::PrintToString(words);
    std::tie(code, output) = run("status");
    EXPECT_NE(output.find("lumetta-calendar: running\n" + storeLine + "\n"), std::string::npos) << output;
    std::tie(code, output) = run("stop");
    EXPECT_EQ(code, 0) << output;
    EXPECT_NE(output.find("stopped"), std::string::npos) << output;
    EXPECT_FALSE(AESocketTransport::answers(calendarSocket()));
    std::tie(code, output) = run("bogus");
    EXPECT_EQ(code, 2) << output;
}

} // namespace
} // namespace caltest
