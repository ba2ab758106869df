#include "mailhost/rules/RuleScript.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace mailhost {

using platform::Result;

namespace {

Result<void> runOnce(const std::string& program, const std::vector<std::string>& paths,
                     std::chrono::milliseconds limit) {
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const auto& path : paths)
        argv.push_back(const_cast<char*>(path.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = 0;
    const int spawned = posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (spawned != 0)
        return platform::makeError("cannot run " + program + ": " + std::strerror(spawned), spawned);
    const auto deadline = std::chrono::steady_clock::now() + limit;
    auto pause = std::chrono::milliseconds(1);
    int status = 0;
    for (;;) {
        const pid_t done = ::waitpid(pid, &status, WNOHANG);
        if (done == pid)
            break;
        if (done < 0 && errno != EINTR)
            return platform::makeError("lost track of " + program + ": " + std::strerror(errno), errno);
        if (std::chrono::steady_clock::now() >= deadline) {
            ::kill(pid, SIGKILL);
            while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
            }
            return platform::makeError(program + " did not finish within " +
                                       std::to_string(limit.count() / 1000) + " s and was stopped");
        }
        std::this_thread::sleep_for(pause);
        pause = std::min(pause * 2, std::chrono::milliseconds(50));
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return {};
    if (WIFEXITED(status))
        return platform::makeError(
            program + " failed with exit status " + std::to_string(WEXITSTATUS(status)), WEXITSTATUS(status));
    return platform::makeError(program + " was ended by signal " + std::to_string(WTERMSIG(status)));
}

} // namespace

Result<void> RuleScript::run(const std::string& program, const std::vector<std::string>& paths,
                             std::chrono::milliseconds limit) {
    if (program.empty())
        return platform::makeError("no program to run");
    if (::access(program.c_str(), X_OK) != 0)
        return platform::makeError("cannot run " + program + ": " + std::strerror(errno), errno);
    if (paths.empty())
        return {};
    for (std::size_t from = 0; from < paths.size(); from += kPathsPerRun) {
        const std::vector<std::string> part(
            paths.begin() + static_cast<std::ptrdiff_t>(from),
            paths.begin() + static_cast<std::ptrdiff_t>(std::min(paths.size(), from + kPathsPerRun)));
        if (auto ran = runOnce(program, part, limit); !ran)
            return ran;
    }
    return {};
}

} // namespace mailhost
