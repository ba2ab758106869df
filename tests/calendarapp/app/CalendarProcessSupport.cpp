#include "CalendarProcessSupport.h"

#include "platform/appleevents/AESocketPath.h"
#include "platform/appleevents/AESocketTransport.h"
#include "support/CalendarSweep.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace caltest {

namespace fs = std::filesystem;
using namespace platform::appleevents;
using namespace std::chrono_literals;

CalendarProcess::CalendarProcess(const fs::path& store, const std::vector<std::string>& options,
                                 fs::path socket) {
    std::vector<std::string> words{LUMETTA_CALENDAR_PROGRAM, "--store", store.string()};
    words.insert(words.end(), options.begin(), options.end());
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    if (socket.empty())
        socket = AESocketPath::forBundleIdentifier(calendarapp::kCalendarBundleIdentifier).value();
    pid_ = ::fork();
    if (pid_ == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGTERM); // a crashed test leaves no calendar behind
        ::execv(argv[0], argv.data());
        ::_exit(127);
    }
    if (pid_ < 0)
        return;
    for (int waited = 0; waited < 1000; ++waited) {
        if (AESocketTransport::answers(socket)) {
            answering_ = true;
            return;
        }
        int status = 0;
        if (::waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            return;
        }
        std::this_thread::sleep_for(10ms);
    }
}

CalendarProcess::~CalendarProcess() {
    if (pid_ > 0)
        end(SIGTERM);
}

int CalendarProcess::end(int signal) {
    if (pid_ <= 0)
        return -1;
    if (signal != 0)
        ::kill(pid_, signal);
    int status = 0;
    for (int waited = 0; waited < 500; ++waited) {
        if (::waitpid(pid_, &status, WNOHANG) == pid_) {
            pid_ = -1;
            return status;
        }
        std::this_thread::sleep_for(10ms);
    }
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, &status, 0);
    pid_ = -1;
    return status;
}

UniqueFd listenAsImpostor(const fs::path& path) {
    UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    if (!fd || ::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(fd.get(), 8) != 0)
        throw std::runtime_error("cannot listen at " + path.string());
    return fd;
}

void CalendarProcessTest::SetUp() {
    runtimeSet_ = true;
    if (const char* old = std::getenv("XDG_RUNTIME_DIR"))
        previousRuntime_ = old;
    ::setenv("XDG_RUNTIME_DIR", runtime_.path().c_str(), 1);
    ASSERT_TRUE(AESocketPath::ensureFolder().ok());
}

void CalendarProcessTest::TearDown() {
    calendar_.reset();
    // A calendar started on demand is no child of the test: found by its runtime folder.
    testsupport::stopCalendarsRunningIn(runtime_.path());
    if (!runtimeSet_)
        return;
    if (previousRuntime_)
        ::setenv("XDG_RUNTIME_DIR", previousRuntime_->c_str(), 1);
    else
        ::unsetenv("XDG_RUNTIME_DIR");
}

fs::path CalendarProcessTest::calendarSocket() {
    return AESocketPath::forBundleIdentifier(calendarapp::kCalendarBundleIdentifier).value();
}

void CalendarProcessTest::start(const std::vector<std::string>& options) {
    calendar_ = std::make_unique<CalendarProcess>(store(), options);
    ASSERT_TRUE(calendar_->answering()) << "lumetta-calendar did not start: " << LUMETTA_CALENDAR_PROGRAM;
}

fs::path CalendarProcessTest::itemFile(const std::string& uid) const {
    for (const auto& entry : fs::recursive_directory_iterator(store()))
        if (entry.path().filename() == uid + ".ics")
            return entry.path();
    return {};
}

std::string CalendarProcessTest::snapshot() const {
    std::map<std::string, std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(store()))
        if (entry.is_regular_file())
            files[fs::relative(entry.path(), store()).string()] = read(entry.path());
    std::string text;
    for (const auto& [name, bytes] : files)
        text += "== " + name + "\n" + bytes + "\n";
    return text;
}

} // namespace caltest
