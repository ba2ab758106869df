#include "CalendarStoreSupport.h"
#include "platform/foundation/Log.h"
#include "support/GoldenFile.h"

#include <cerrno>

using namespace calendarapp;
using caltest::utc;
namespace fs = std::filesystem;

namespace {

const fs::path kData = LUMETTA_TEST_DATA_DIR;

class ToDoFileTest : public caltest::StoreTest {};

// A to-do with every property the store writes, as it lands on disk.
TEST_F(ToDoFileTest, NewToDoWithEveryPropertyMatchesGoldenFile) {
    platform::ScopedFixedClock clock(utc("2024-02-20 09:15:00"));
    ToDoProperties all = caltest::titled("Reply to Anna, about: the \"Q3\" report");
    all.description = "Line one\nLine two — ünïcødé";
    all.url = "message:///Messages/4711.emlx";
    all.dueDate = utc("2024-03-01 11:00:00");
    all.completionDate = utc("2024-02-28 16:45:00");
    all.priority = 1;
    auto toDo = store_->createToDo("Work", all);
    ASSERT_TRUE(toDo.ok()) << toDo.error().message;
    ASSERT_TRUE(store_->addDisplayAlarm(toDo.value().uid, utc("2024-03-01 08:00:00")).ok());
    EXPECT_EQ(toDo.value().file.filename(), toDo.value().uid + ".ics");
    const auto diff = testsupport::compareWithGolden(
        kData / "every-property.ics", caltest::normalised(read(toDo.value().file), toDo.value().uid));
    EXPECT_TRUE(diff.empty()) << diff;
}

// A file written by another program keeps every line the change does not touch, byte
// for byte: unknown properties and components, folding, LF line ends, the override of
// one occurrence, and its own file name.
TEST_F(ToDoFileTest, ForeignFileKeepsWhatTheStoreDoesNotChange) {
    const fs::path file = place("other-program-name.ics", read(kData / "foreign-todo.ics"));
    const std::string uid = "20240210T101500Z-4711@other.example";
    auto found = store_->findToDo(uid);
    ASSERT_TRUE(found.ok()) << found.error().message;
    EXPECT_EQ(found.value().summary, "Einkaufen, Brot");
    EXPECT_EQ(found.value().dueDate, utc("2024-03-01 11:00:00"));
    EXPECT_TRUE(found.value().displayAlarms.empty()); // an audio alarm is no display alarm

    platform::ScopedFixedClock clock(utc("2024-02-20 09:15:00"));
    ASSERT_TRUE(store_->setSummary(uid, std::string("Bakery, then market")).ok());
    ASSERT_TRUE(store_->setPriority(uid, 9).ok());
    EXPECT_FALSE(fs::exists(work_.folder / (uid + ".ics")));
    const auto diff = testsupport::compareWithGolden(kData / "foreign-todo-changed.ics", read(file));
    EXPECT_TRUE(diff.empty()) << diff;
}

// Files that are not one readable to-do are skipped by name, never fatal: the rest of the
// calendar still lists, and a change to such a file fails without touching it.
TEST_F(ToDoFileTest, MalformedItemsAreSkippedWithAReason) {
    const std::string todo = "BEGIN:VTODO\r\nUID:x\r\nEND:VTODO\r\n";
    const struct {
        const char* name;
        std::string bytes;
        const char* reason;
    } cases[] = {
        {"garbage.ics", "\x01\x02\xff not a calendar at all", "not an iCalendar object"},
        {"empty.ics", "", "not an iCalendar object"},
        {"truncated.ics", "BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nUID:t\r\nSUMMARY:cut o",
         "not an iCalendar object"},
        {"event.ics", "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nUID:e\r\nEND:VEVENT\r\nEND:VCALENDAR\r\n",
         "no to-do"},
        {"no-uid.ics", "BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nSUMMARY:s\r\nEND:VTODO\r\nEND:VCALENDAR\r\n",
         "no UID"},
        {"two.ics",
         "BEGIN:VCALENDAR\r\n" + todo + "END:VCALENDAR\r\nBEGIN:VCALENDAR\r\n" + todo + "END:VCALENDAR\r\n",
         "more than one"},
        {"nul.ics", std::string("BEGIN:VCALENDAR\r\n\0", 18) + todo + "END:VCALENDAR\r\n", "NUL"},
    };
    const ToDo good = create(caltest::titled("Still here"));
    platform::ScopedLogCapture log;
    for (const auto& c : cases)
        place(c.name, c.bytes);
    auto listing = store_->toDos(work_);
    ASSERT_TRUE(listing.ok());
    ASSERT_EQ(listing.value().toDos.size(), 1u);
    EXPECT_EQ(listing.value().toDos[0].uid, good.uid);
    ASSERT_EQ(listing.value().skipped.size(), std::size(cases));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto skipped = std::find_if(
            listing.value().skipped.begin(), listing.value().skipped.end(),
            [&](const platform::Error& e) { return e.message.find(c.name) != std::string::npos; });
        ASSERT_NE(skipped, listing.value().skipped.end());
        EXPECT_NE(skipped->message.find(c.reason), std::string::npos) << skipped->message;
        EXPECT_TRUE(log.contains(c.name));
    }
    // With damaged files about, no UID is "not there" for sure: any of them may hold it.
    const std::string before = snapshot();
    EXPECT_EQ(store_->setSummary("t", std::string("x")).error().code, EBADMSG);
    EXPECT_EQ(snapshot(), before);
}

// A to-do whose file is damaged is reported as unreadable, naming the file, never as a
// to-do that is not there: a client unlinks its message on the second answer only.
TEST_F(ToDoFileTest, DamagedToDoIsUnreadableNotAbsent) {
    const std::string uid = "DAMAGED-1";
    const std::string whole = "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VTODO\r\nUID:" + uid +
                              "\r\nSUMMARY:Call Bob\r\nEND:VTODO\r\nEND:VCALENDAR\r\n";
    const struct {
        const char* name;
        std::string file; // file name in Work
        std::string bytes;
        const char* reason;
    } cases[] = {
        {"truncated", uid + ".ics", whole.substr(0, whole.size() / 2), "cut short"},
        {"cut in its last line", uid + ".ics", whole.substr(0, whole.size() - 6), "cut short"},
        {"empty", uid + ".ics", "", "empty"},
        {"without UID", uid + ".ics",
         "BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nSUMMARY:s\r\nEND:VTODO\r\nEND:VCALENDAR\r\n", "no UID"},
        {"under another name", "other-name.ics", whole.substr(0, 40), "may hold it"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::filesystem::path file = place(c.file, c.bytes);
        auto found = freshStore().findToDo(uid);
        ASSERT_FALSE(found.ok());
        EXPECT_EQ(found.error().code, EBADMSG);
        EXPECT_NE(found.error().message.find(c.reason), std::string::npos) << found.error().message;
        EXPECT_NE(found.error().message.find(file.string()), std::string::npos) << found.error().message;
        const std::string before = snapshot();
        EXPECT_EQ(store_->deleteToDo(uid).error().code, EBADMSG);
        EXPECT_EQ(snapshot(), before);
        std::filesystem::remove(file);
    }
    // Once every file reads, a UID none of them holds is not there.
    EXPECT_EQ(freshStore().findToDo(uid).error().code, ENOENT);
    place(uid + ".ics", whole);
    EXPECT_EQ(freshStore().findToDo(uid).value().summary, "Call Bob");
}

// A file whose components do not pair up reads as libical forgives it, but a change is
// refused rather than written over lines whose place is unclear.
TEST_F(ToDoFileTest, ChangeToAnUnbalancedFileIsRefused) {
    const fs::path file = place("odd.ics", "BEGIN:VCALENDAR\r\nBEGIN:VTODO\r\nUID:odd\r\nBEGIN:VALARM\r\n"
                                           "ACTION:DISPLAY\r\nEND:VEVENT\r\nEND:VTODO\r\nEND:VCALENDAR\r\n");
    const std::string before = read(file);
    ASSERT_TRUE(store_->findToDo("odd").ok());
    auto changed = store_->setSummary("odd", std::string("x"));
    ASSERT_FALSE(changed.ok());
    EXPECT_EQ(changed.error().code, EBADMSG);
    EXPECT_NE(changed.error().message.find("END:VEVENT"), std::string::npos) << changed.error().message;
    EXPECT_EQ(read(file), before);
}

} // namespace
