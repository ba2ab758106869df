#pragma once

#include "CalendarClientSupport.h"
#include "platform/appleevents/UniqueFd.h"
#include "support/GoldenFile.h"
#include "support/MessageFileSupport.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace caltest {

// The built lumetta-calendar, run as its own process over a store folder. Ended with
// SIGTERM (and reaped) when the object goes.
class CalendarProcess {
public:
    // Waits until it answers at `socket` (default: the calendar's own).
    CalendarProcess(const std::filesystem::path& store, const std::vector<std::string>& options = {},
                    std::filesystem::path socket = {});
    ~CalendarProcess();
    CalendarProcess(const CalendarProcess&) = delete;
    CalendarProcess& operator=(const CalendarProcess&) = delete;

    // Whether it started and answers on its socket.
    bool answering() const { return answering_; }
    pid_t pid() const { return pid_; }
    // Sends `signal` (0: none) and waits for the end, five seconds at most before SIGKILL;
    // the wait status.
    int end(int signal);

private:
    pid_t pid_ = -1;
    bool answering_ = false;
};

// A socket at `path` that takes connections but is no calendar.
platform::appleevents::UniqueFd listenAsImpostor(const std::filesystem::path& path);

// A store folder, a private XDG_RUNTIME_DIR (so sockets meet no one else's) and the
// calendar running over them.
class CalendarProcessTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    void start(const std::vector<std::string>& options = {});
    const std::filesystem::path& store() const { return scratch_.path(); }
    // The item file of a to-do, found by its UID among the calendar folders.
    std::filesystem::path itemFile(const std::string& uid) const;
    static std::string read(const std::filesystem::path& path) { return testsupport::readFile(path); }
    // Every file under the store and its bytes, to show what changed.
    std::string snapshot() const;

    // The calendar's socket in the runtime folder.
    static std::filesystem::path calendarSocket();

    testsupport::ScratchFolder scratch_;
    testsupport::ScratchFolder runtime_;
    std::optional<std::string> previousRuntime_;
    bool runtimeSet_ = false;
    std::unique_ptr<CalendarProcess> calendar_;
};

} // namespace caltest
