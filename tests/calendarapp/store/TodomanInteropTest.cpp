#include "CalendarStoreSupport.h"
#include "support/Todoman.h"

#include <optional>
#include <regex>

using namespace calendarapp;
using caltest::utc;
namespace fs = std::filesystem;

namespace {

// todoman, a to-do program no one here wrote, shares the store: it lists and completes
// the store's to-dos, and the store reads what todoman writes, with no restart between.
class TodomanInteropTest : public caltest::StoreTest {
protected:
    void SetUp() override {
        if (!testsupport::Todoman::installed())
            GTEST_SKIP() << testsupport::Todoman::kMissing;
        StoreTest::SetUp();
        todoman_.emplace(root(), root().string(), "Work");
    }
    void TearDown() override { todoman_.reset(); }

    // todoman's exit status and everything it printed.
    testsupport::CommandOutput todoman(const std::string& arguments) const {
        return todoman_->run(arguments);
    }

    std::optional<testsupport::Todoman> todoman_;
};

TEST_F(TodomanInteropTest, StoreToDoListsAndCompletesInTodoman) {
    ToDoProperties properties = caltest::titled("Buy milk");
    properties.dueDate = utc("2030-03-01 11:00:00");
    properties.priority = 1;
    properties.url = "message:///Messages/4711.emlx";
    auto created = store_->createToDo("Work", properties);
    ASSERT_TRUE(created.ok()) << created.error().message;
    const std::string uid = created.value().uid;
    ASSERT_TRUE(store_->addDisplayAlarm(uid, utc("2030-03-01 08:00:00")).ok());

    const auto [listed, list] = todoman("--porcelain list");
    ASSERT_EQ(listed, 0) << list;
    EXPECT_NE(list.find("\"summary\": \"Buy milk\""), std::string::npos) << list;
    EXPECT_NE(list.find("\"due\": 1898593200,"), std::string::npos) << list; // 2030-03-01 11:00 UTC
    EXPECT_NE(list.find("\"priority\": 1,"), std::string::npos) << list;
    EXPECT_NE(list.find("\"list\": \"Work\""), std::string::npos) << list;
    std::smatch id;
    ASSERT_TRUE(std::regex_search(list, id, std::regex("\"id\": (\\d+)"))) << list;

    const platform::Date before = platform::Clock::now().addingSeconds(-1);
    const auto [done, output] = todoman("done " + id[1].str());
    ASSERT_EQ(done, 0) << output;
    const platform::Date after = platform::Clock::now().addingSeconds(1);

    auto completed = store_->findToDo(uid);
    ASSERT_TRUE(completed.ok()) << completed.error().message;
    ASSERT_TRUE(completed.value().completionDate.has_value()) << read(completed.value().file);
    EXPECT_GE(*completed.value().completionDate, before);
    EXPECT_LE(*completed.value().completionDate, after);
    // todoman keeps what it does not manage itself.
    EXPECT_EQ(completed.value().url, properties.url);
    EXPECT_EQ(completed.value().priority, 1);
    EXPECT_EQ(completed.value().displayAlarms,
              std::vector<std::optional<platform::Date>>{utc("2030-03-01 08:00:00")});
    auto since = store_->toDosModifiedSince(before);
    ASSERT_TRUE(since.ok());
    ASSERT_EQ(since.value().toDos.size(), 1u);
    EXPECT_EQ(since.value().toDos[0].uid, uid);
}

TEST_F(TodomanInteropTest, TodomanToDoReadsAndChangesInTheStore) {
    const auto [made, output] = todoman("new -l Work --due '2030-03-02 10:00' --priority high Call Bob");
    ASSERT_EQ(made, 0) << output;
    auto listing = store_->toDos(work_);
    ASSERT_TRUE(listing.ok());
    ASSERT_EQ(listing.value().toDos.size(), 1u) << output;
    const ToDo toDo = listing.value().toDos[0];
    EXPECT_EQ(toDo.summary, "Call Bob");
    EXPECT_EQ(toDo.dueDate, utc("2030-03-02 09:00:00")); // 10:00 in Berlin
    EXPECT_EQ(toDo.priority, 1);                         // todoman's "high" is 4

    ASSERT_TRUE(store_->setSummary(toDo.uid, std::string("Call Bob back")).ok());
    const auto [listed, list] = todoman("--porcelain list");
    ASSERT_EQ(listed, 0) << list;
    EXPECT_NE(list.find("\"summary\": \"Call Bob back\""), std::string::npos) << list;
}

} // namespace
