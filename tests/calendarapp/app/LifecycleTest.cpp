// Starting and ending lumetta-calendar: its own socket, a clean end on quit and on
// signals, and the host command line's `lumetta calendar status|start|stop`.
#include "CalendarProcessSupport.h"
#include "platform/appleevents/AESocketTransport.h"
#include "support/Commands.h"

#include <csignal>
#include <cstdio>
#include <sys/wait.h>

namespace caltest {
namespace {

namespace fs = std::filesystem;
using namespace platform::appleevents;
using namespace calendarapp;

class Lifecycle : public CalendarProcessTest {};

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
    const auto run = [&](const std::string& words) {
        const auto output = testsupport::runCommand(
            "HOME='" + home.string() + "' XDG_CONFIG_HOME='" + home.string() + "/config' XDG_DATA_HOME='" +
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
