#include "EndToEndSupport.h"

#include "platform/appleevents/AESocketPath.h"
#include "platform/appleevents/ApplicationRegistry.h"
#include "platform/appleevents/Workspace.h"
#include "platform/foundation/UserDefaults.h"
#include "support/CalendarSweep.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace caltodo {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

fs::path builtPath(const std::string& relative) {
    std::error_code failed;
    const fs::path self = fs::read_symlink("/proc/self/exe", failed);
    return self.parent_path().parent_path() / relative;
}

void CalendarWorld::setEnv(const char* name, const std::string& value) {
    if (!saved_.count(name)) {
        const char* previous = std::getenv(name);
        saved_[name] = previous ? std::optional<std::string>(previous) : std::nullopt;
    }
    ::setenv(name, value.c_str(), 1);
}

void CalendarWorld::SetUp() {
    calendarProgram_ = builtPath("mailhost/lumetta-calendar");
    cli_ = builtPath("mailhost/lumetta");
    const fs::path bundles = builtPath("lumetta");
    if (!fs::exists(calendarProgram_) || !fs::exists(cli_) || !fs::exists(bundles / "Lumetta.mailbundle"))
        GTEST_SKIP() << "lumetta-calendar, lumetta or the Lumetta bundle is not built in " << builtPath("")
                     << ": nothing to run end to end";
    const fs::path runtime = scratch_.path() / "run";
    fs::create_directories(runtime);
    ::chmod(runtime.c_str(), 0700);
    setEnv("XDG_RUNTIME_DIR", runtime.string());
    setEnv("XDG_CONFIG_HOME", (scratch_.path() / "config").string());
    setEnv("XDG_DATA_HOME", (scratch_.path() / "data").string());
    setEnv("HOME", scratch_.path().string());
    setEnv("LUMETTA_LIBRARY", (scratch_.path() / "Mail").string());
    setEnv("LUMETTA_CALENDAR_EXECUTABLE", calendarProgram_.string());
    setEnv("LUMETTA_BUNDLE_PATH", bundles.string());
    platform::UserDefaults::resetStandardForTesting();
    platform::appleevents::ApplicationRegistry::unregisterApplication("com.apple.iCal");
}

void CalendarWorld::TearDown() {
    stopCalendar();
    // Also any the socket no longer leads to: no test may leave a calendar running.
    testsupport::stopCalendarsRunningIn(scratch_.path() / "run");
    platform::appleevents::ApplicationRegistry::unregisterApplication("com.apple.iCal");
    for (const auto& [name, value] : saved_)
        value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
    platform::UserDefaults::resetStandardForTesting();
}

CommandOutput CalendarWorld::lumetta(const std::string& arguments) const {
    return runCommand("'" + cli_.string() + "' " + arguments);
}

CommandOutput CalendarWorld::todoman(const std::string& arguments, const std::string& environment) {
    if (!todoman_)
        todoman_.emplace(store(), (scratch_.path() / "calendars").string(), "Lumetta");
    return todoman_->run(arguments, environment);
}

pid_t CalendarWorld::calendarPid() {
    const auto path = platform::appleevents::AESocketPath::forBundleIdentifier("com.apple.iCal");
    if (!path)
        return -1;
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.value().c_str(), sizeof address.sun_path - 1);
    pid_t pid = -1;
    if (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        ucred credentials{};
        socklen_t size = sizeof credentials;
        if (::getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0)
            pid = credentials.pid;
    }
    ::close(fd);
    return pid;
}

bool CalendarWorld::startCalendar() {
    return platform::appleevents::Workspace::sharedWorkspace()
        .launchAppWithBundleIdentifier("com.apple.iCal", 0, nullptr, nullptr)
        .ok();
}

void CalendarWorld::awaitEnd(pid_t pid) {
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    for (;;) {
        std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
        std::string line;
        // Gone, or a zombie waiting for a parent that is not this process.
        if (!std::getline(stat, line) || line.find(") Z ") != std::string::npos)
            return;
        if (std::chrono::steady_clock::now() > deadline) {
            ::kill(pid, SIGKILL);
            std::this_thread::sleep_for(100ms);
            return;
        }
        std::this_thread::sleep_for(10ms);
    }
}

void CalendarWorld::stopCalendar() {
    for (pid_t pid; (pid = calendarPid()) > 0;) {
        ::kill(pid, SIGCONT);
        ::kill(pid, SIGTERM);
        awaitEnd(pid);
    }
}

} // namespace caltodo
