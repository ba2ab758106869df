#include "platform/appleevents/DetachedProcess.h"

#include "platform/appleevents/UniqueFd.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace platform::appleevents {

namespace {

// What the intermediate child and the program report through the status pipe.
struct Report {
    std::int32_t kind; // 'P': the program's pid; 'E': errno of a failed step
    std::int32_t value;
};

void report(int fd, char kind, int value) {
    const Report r{kind, value};
    [[maybe_unused]] const ssize_t ignored = ::write(fd, &r, sizeof r);
}

// Runs in the program's process between fork and exec: only async-signal-safe calls.
[[noreturn]] void becomeProgram(int statusFd, const char* path, char* const* argv) {
    const int devNull = ::open("/dev/null", O_RDWR);
    if (devNull < 0 || ::dup2(devNull, 0) < 0 || ::dup2(devNull, 1) < 0 || ::dup2(devNull, 2) < 0) {
        report(statusFd, 'E', errno);
        ::_exit(127);
    }
    // Every other descriptor closes at exec, the status pipe too: its end-of-file tells
    // the launcher exec succeeded.
    if (::close_range(3, ~0U, CLOSE_RANGE_CLOEXEC) != 0)
        for (int fd = 3; fd < 4096; ++fd)
            ::fcntl(fd, F_SETFD, FD_CLOEXEC);
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    for (int signal = 1; signal < NSIG; ++signal)
        if (signal != SIGKILL && signal != SIGSTOP)
            ::signal(signal, SIG_DFL);
    if (::chdir("/") != 0) {
        report(statusFd, 'E', errno);
        ::_exit(127);
    }
    ::execv(path, argv);
    report(statusFd, 'E', errno);
    ::_exit(127);
}

} // namespace

Result<pid_t> DetachedProcess::spawn(const std::filesystem::path& executable,
                                     const std::vector<std::string>& arguments) {
    // Everything that allocates happens before fork.
    std::vector<std::string> words{executable.string()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    int fds[2];
    if (::pipe2(fds, O_CLOEXEC) != 0)
        return makeError(std::string("cannot make a pipe: ") + std::strerror(errno), errno);
    UniqueFd reading(fds[0]);
    UniqueFd writing(fds[1]);

    const pid_t child = ::fork();
    if (child < 0)
        return makeError(std::string("cannot fork: ") + std::strerror(errno), errno);
    if (child == 0) {
        ::setsid();
        const pid_t program = ::fork();
        if (program == 0)
            becomeProgram(writing.get(), argv[0], argv.data());
        if (program < 0)
            report(writing.get(), 'E', errno);
        else
            report(writing.get(), 'P', program);
        ::_exit(0);
    }
    writing.reset();
    int ignored = 0;
    while (::waitpid(child, &ignored, 0) < 0 && errno == EINTR) {
    }

    pid_t program = -1;
    int failure = 0;
    Report r{};
    for (;;) {
        const ssize_t n = ::read(reading.get(), &r, sizeof r);
        if (n < 0 && errno == EINTR)
            continue;
        if (n != static_cast<ssize_t>(sizeof r))
            break;
        if (r.kind == 'P')
            program = r.value;
        else
            failure = r.value;
    }
    if (failure != 0)
        return makeError("cannot start " + executable.string() + ": " + std::strerror(failure), failure);
    if (program < 0)
        return makeError("cannot start " + executable.string(), ECHILD);
    return program;
}

} // namespace platform::appleevents
