#include "support/CalendarSweep.h"

#include <chrono>
#include <csignal>
#include <fstream>
#include <string>
#include <sys/types.h>
#include <thread>
#include <vector>

namespace testsupport {

namespace {

namespace fs = std::filesystem;

std::vector<std::string> nulSeparated(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::vector<std::string> words;
    for (std::string word; std::getline(in, word, '\0');)
        words.push_back(word);
    return words;
}

bool isCalendarOf(const fs::path& process, const std::string& runtime) {
    const auto words = nulSeparated(process / "cmdline");
    if (words.empty() || fs::path(words.front()).filename() != "lumetta-calendar")
        return false;
    for (const std::string& variable : nulSeparated(process / "environ"))
        if (variable == "XDG_RUNTIME_DIR=" + runtime)
            return true;
    return false;
}

// Gone, or a zombie waiting for a parent that is not this process.
bool ended(pid_t pid) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    return !std::getline(stat, line) || line.find(") Z ") != std::string::npos;
}

} // namespace

int stopCalendarsRunningIn(const fs::path& runtimeFolder) {
    std::vector<pid_t> found;
    std::error_code failed;
    for (const auto& entry : fs::directory_iterator("/proc", failed)) {
        const std::string name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") != std::string::npos)
            continue;
        if (isCalendarOf(entry.path(), runtimeFolder.string()))
            found.push_back(static_cast<pid_t>(std::stol(name)));
    }
    for (const pid_t pid : found) {
        ::kill(pid, SIGCONT);
        ::kill(pid, SIGTERM);
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    for (const pid_t pid : found) {
        while (!ended(pid) && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        if (!ended(pid))
            ::kill(pid, SIGKILL);
    }
    return static_cast<int>(found.size());
}

} // namespace testsupport
