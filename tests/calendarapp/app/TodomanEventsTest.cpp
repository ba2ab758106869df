// todoman, a to-do program no one here wrote, and the calendar's scripting clients share
// the store: what events make, todoman lists; what todoman completes, events read.
#include "CalendarProcessSupport.h"
#include "support/Todoman.h"

#include <optional>
#include <regex>

namespace caltest {
namespace {

namespace fs = std::filesystem;
using namespace platform::appleevents;
using namespace calendarapp;

class TodomanThroughEvents : public CalendarProcessTest {
protected:
    void SetUp() override {
        if (!testsupport::Todoman::installed())
            GTEST_SKIP() << testsupport::Todoman::kMissing;
        CalendarProcessTest::SetUp();
        start();
        todoman_.emplace(store(), store().string(), "Work");
    }
    void TearDown() override {
        CalendarProcessTest::TearDown();
        todoman_.reset();
    }

    testsupport::CommandOutput todoman(const std::string& arguments) const {
        return todoman_->run(arguments);
    }

    std::optional<testsupport::Todoman> todoman_;
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
