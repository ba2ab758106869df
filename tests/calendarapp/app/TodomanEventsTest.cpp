// todoman, a to-do program no one here wrote, and the calendar's scripting clients share
// the store: what events make, todoman lists; what todoman completes, events read.
#include "CalendarProcessSupport.h"

#include <cstdio>
#include <regex>
#include <sys/wait.h>

namespace caltest {
namespace {

namespace fs = std::filesystem;
using namespace platform::appleevents;
using namespace calendarapp;

class TodomanThroughEvents : public CalendarProcessTest {
protected:
    void SetUp() override {
        if (std::system("command -v todoman >/dev/null 2>&1") != 0)
            GTEST_SKIP()
                << "todoman is not installed (apt-get install todoman): interoperability not checked";
        CalendarProcessTest::SetUp();
        start();
        config_ = fs::path(store().string() + "-todoman.py");
        testsupport::writeBytes(config_, "path = \"" + store().string() + "/*\"\n" +
                                             "date_format = \"%Y-%m-%d\"\ntime_format = \"%H:%M\"\n"
                                             "default_list = \"Work\"\ndefault_due = 0\n"
                                             "cache_path = \"" +
                                             store().string() + "-todoman.sqlite3\"\n");
    }
    void TearDown() override {
        CalendarProcessTest::TearDown();
        std::error_code ec;
        fs::remove(config_, ec);
        fs::remove(store().string() + "-todoman.sqlite3", ec);
    }

    std::pair<int, std::string> todoman(const std::string& arguments) const {
        const std::string command = "todoman --config '" + config_.string() + "' " + arguments + " 2>&1";
        std::string output;
        FILE* pipe = ::popen(command.c_str(), "r");
        if (pipe == nullptr)
            return {-1, "cannot run " + command};
        char buffer[4096];
        while (const std::size_t n = std::fread(buffer, 1, sizeof buffer, pipe))
            output.append(buffer, n);
        const int status = ::pclose(pipe);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, output};
    }

    fs::path config_;
};

TEST_F(TodomanThroughEvents, ListsWhatEventsMadeAndCompletesWhatEventsRead) {
    ASSERT_FALSE(ask(makeCalendarEvent("Work")).error());
    const Answer made = ask(makeToDoEvent(
        "Work", AEDesc::record(typeAERecord, {{pSummary, roman("Call the bakery")},
                                              {pDueDate, ldt(1898593200.0)}, // 2030-03-01 11:00 UTC
                                              {pPriority, AEDesc::enumerated(kPriorityMedium)},
                                              {pUrl, roman("message:///Messages/4711.emlx")}})));
    ASSERT_FALSE(made.error()) << made.errorText();
    const AEDesc toDo = *made.result();

    const auto [listed, list] = todoman("--porcelain list");
    ASSERT_EQ(listed, 0) << list;
    EXPECT_NE(list.find("\"summary\": \"Call the bakery\""), std::string::npos) << list;
    EXPECT_NE(list.find("\"due\": 1898593200,"), std::string::npos) << list;
    EXPECT_NE(list.find("\"priority\": 5,"), std::string::npos) << list;
    std::smatch id;
    ASSERT_TRUE(std::regex_search(list, id, std::regex("\"id\": (\\d+)"))) << list;
    EXPECT_EQ(ask(getEvent(prop(pCompletionDate, toDo))).result()->osTypeValue(), cMissingValue);

    const double before = platform::Clock::now().unixSeconds() - 1;
    const auto [done, output] = todoman("done " + id[1].str());
    ASSERT_EQ(done, 0) << output;
    const double after = platform::Clock::now().unixSeconds() + 1;

    const auto completed = ask(getEvent(prop(pCompletionDate, toDo))).result()->dateValue();
    ASSERT_TRUE(completed.has_value());
    EXPECT_GE(completed->unixSeconds(), before);
    EXPECT_LE(completed->unixSeconds(), after);
    const auto changed = references(ask(getEvent(linkedToDosChangedSince(before - 1))));
    ASSERT_EQ(changed.size(), 1u);
    EXPECT_EQ(ask(getEvent(prop(pSummary, changed[0]))).result()->stringValue(), "Call the bakery");
}

} // namespace
} // namespace caltest
