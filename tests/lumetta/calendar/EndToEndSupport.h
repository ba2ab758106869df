#pragma once

#include "support/Commands.h"
#include "support/MessageFileSupport.h"
#include "support/Todoman.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>

namespace caltodo {

using testsupport::CommandOutput;
using testsupport::runCommand;

// Each command must succeed; its output for the checks that follow.
#define RUN_OK(output, call)                                                                                 \
    const CommandOutput output = call;                                                                       \
    ASSERT_EQ(output.status, 0) << output.text

inline bool has(const CommandOutput& output, const std::string& part) {
    return output.text.find(part) != std::string::npos;
}

// A program of this build tree: the test programs sit in <build>/tests, the client's
// programs in <build>/mailhost and the bundle in <build>/lumetta.
std::filesystem::path builtPath(const std::string& relative);

// The real calendar application and command line of this build, in a home of the test's
// own: settings, data (the calendar's store is the default one, $XDG_DATA_HOME/calendars),
// mail library and runtime folder. Skipped when the programs are not built.
class CalendarWorld : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    std::filesystem::path store() const { return scratch_.path() / "data" / "calendars"; }
    CommandOutput lumetta(const std::string& arguments) const;
    // todoman over the calendar's store, with `environment` (NAME=value ...) set for it.
    CommandOutput todoman(const std::string& arguments, const std::string& environment = {});
    static bool hasTodoman() { return testsupport::Todoman::installed(); }

    // The process answering at the calendar's socket (even a stopped one); -1 for none.
    static pid_t calendarPid();
    // Starts the calendar as the plug-in would; true once it answers.
    static bool startCalendar();
    // Ends whatever calendar answers (SIGCONT first, for one that was stopped) and waits
    // until it is gone.
    static void stopCalendar();
    // Waits until `pid` has ended (it is not ours to reap).
    static void awaitEnd(pid_t pid);

    testsupport::ScratchFolder scratch_;
    std::optional<testsupport::Todoman> todoman_;
    std::filesystem::path calendarProgram_;
    std::filesystem::path cli_;

private:
    void setEnv(const char* name, const std::string& value);
    std::map<std::string, std::optional<std::string>> saved_;
};

} // namespace caltodo
