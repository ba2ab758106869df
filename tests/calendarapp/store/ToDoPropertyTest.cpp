#include "CalendarStoreSupport.h"

#include <cerrno>
#include <functional>

using namespace calendarapp;
using caltest::utc;
using platform::Result;

namespace {

class ToDoPropertyTest : public caltest::StoreTest {
protected:
    ToDo reread(const std::string& uid) {
        auto toDo = freshStore().findToDo(uid);
        EXPECT_TRUE(toDo.ok()) << toDo.error().message;
        return toDo.ok() ? toDo.value() : ToDo{};
    }
    ToDo foreign(const std::string& todoLines, const std::string& calendarLines = {}) {
        place("foreign.ics", "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Other//EN\r\n" + calendarLines +
                                 "BEGIN:VTODO\r\nUID:foreign-1\r\n" + todoLines +
                                 "END:VTODO\r\nEND:VCALENDAR\r\n");
        return reread("foreign-1");
    }
};

std::optional<std::string> seconds(const std::optional<platform::Date>& date) {
    return date ? std::optional(std::to_string(static_cast<long long>(date->unixSeconds()))) : std::nullopt;
}

// Each property is written as its iCalendar line, reads back after a restart, and clears.
TEST_F(ToDoPropertyTest, EachPropertyRoundTripsAndClears) {
    using Setter = std::function<Result<ToDo>(ToDoStore&, const std::string&, bool clear)>;
    using Getter = std::function<std::optional<std::string>(const ToDo&)>;
    const platform::Date due = utc("2024-03-01 11:00:00");
    const platform::Date done = utc("2024-03-02 08:30:00");
    const std::string summary = "Call Anna, re: Q3; bring notes\nand the slides";
    const std::string description = "Zürich — ünïcødé ✓";
    const std::string url = "message://%3c4711@example.com%3e/Messages/4711.emlx";
    const struct {
        Setter set;
        Getter get;
        std::string expected;
        std::string line;
    } cases[] = {
        {[&](ToDoStore& s, const std::string& uid, bool clear) {
             return s.setSummary(uid, clear ? std::nullopt : std::optional(summary));
         },
         [](const ToDo& t) { return t.summary; }, summary,
         "SUMMARY:Call Anna\\, re: Q3\\; bring notes\\nand the slides"},
        {[&](ToDoStore& s, const std::string& uid, bool clear) {
             return s.setDescription(uid, clear ? std::string() : description);
         },
         [](const ToDo& t) { return t.description; }, description, "DESCRIPTION:" + description},
        {[&](ToDoStore& s, const std::string& uid, bool clear) {
             return s.setUrl(uid, clear ? std::nullopt : std::optional(url));
         },
         [](const ToDo& t) { return t.url; }, url, "URL:" + url},
        {[&](ToDoStore& s, const std::string& uid, bool clear) {
             return s.setDueDate(uid, clear ? std::nullopt : std::optional(due));
         },
         [](const ToDo& t) { return seconds(t.dueDate); }, *seconds(due), "DUE:20240301T110000Z"},
        {[&](ToDoStore& s, const std::string& uid, bool clear) {
             return s.setCompletionDate(uid, clear ? std::nullopt : std::optional(done));
         },
         [](const ToDo& t) { return seconds(t.completionDate); }, *seconds(done),
         "COMPLETED:20240302T083000Z"},
        {[&](ToDoStore& s, const std::string& uid, bool clear) { return s.setPriority(uid, clear ? 0 : 5); },
         [](const ToDo& t) { return t.priority ? std::optional(std::to_string(t.priority)) : std::nullopt; },
         "5", "PRIORITY:5"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        const ToDo toDo = create();
        auto set = c.set(*store_, toDo.uid, false);
        ASSERT_TRUE(set.ok()) << set.error().message;
        EXPECT_EQ(c.get(set.value()), c.expected);
        EXPECT_EQ(c.get(reread(toDo.uid)), c.expected);
        EXPECT_NE(read(toDo.file).find("\r\n" + c.line + "\r\n"), std::string::npos) << read(toDo.file);

        ASSERT_TRUE(c.set(*store_, toDo.uid, true).ok());
        EXPECT_EQ(c.get(reread(toDo.uid)), std::nullopt);
        const std::string name = c.line.substr(0, c.line.find(':') + 1);
        EXPECT_EQ(read(toDo.file).find("\r\n" + name), std::string::npos) << read(toDo.file);
    }
}

// Priorities keep three levels: a number set here or written by another program lands
// on the level iCalendar assigns it; numbers that are no priority are refused or read as none.
TEST_F(ToDoPropertyTest, PrioritiesLandOnTheirLevel) {
    const std::pair<int, int> levels[] = {{0, 0}, {1, 1}, {2, 1}, {4, 1}, {5, 5}, {6, 9}, {9, 9}};
    const ToDo toDo = create();
    for (const auto& [given, kept] : levels) {
        SCOPED_TRACE(given);
        ASSERT_TRUE(store_->setPriority(toDo.uid, given).ok());
        EXPECT_EQ(reread(toDo.uid).priority, kept);
        EXPECT_EQ(foreign("PRIORITY:" + std::to_string(given) + "\r\n").priority, kept);
    }
    EXPECT_EQ(foreign("PRIORITY:12\r\n").priority, 0);
    EXPECT_EQ(foreign("PRIORITY:high\r\n").priority, 0);
    for (const int refused : {-1, 10})
        EXPECT_EQ(store_->setPriority(toDo.uid, refused).error().code, EINVAL);
}

// Other programs write due dates as UTC, in a named or an embedded zone, floating, or as
// a whole day; each reads as the instant it means here (a whole day from local midnight).
TEST_F(ToDoPropertyTest, ForeignDueDatesReadAsTheirInstant) {
    const std::string customZone = "BEGIN:VTIMEZONE\r\nTZID:Custom/Plus3\r\nBEGIN:STANDARD\r\n"
                                   "DTSTART:19700101T000000\r\nTZOFFSETFROM:+0300\r\nTZOFFSETTO:+0300\r\n"
                                   "END:STANDARD\r\nEND:VTIMEZONE\r\n";
    const struct {
        std::string due;
        std::string zones;
        const char* instant;
    } cases[] = {
        {"DUE:20240301T090000Z", "", "2024-03-01 09:00:00"},
        {"DUE;TZID=America/New_York:20240301T090000", "", "2024-03-01 14:00:00"},
        {"DUE;TZID=Custom/Plus3:20240301T090000", customZone, "2024-03-01 06:00:00"},
        {"DUE:20240701T090000", "", "2024-07-01 07:00:00"}, // floating: Berlin summer time
        {"DUE;VALUE=DATE:20240301", "", "2024-02-29 23:00:00"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.due);
        EXPECT_EQ(seconds(foreign(c.due + "\r\n", c.zones).dueDate), seconds(utc(c.instant)));
    }
}

// A DUE that names no real moment, or is no date at all, reads as no due date and is
// named as unreadable: rolled over into another day it would be a wrong date.
TEST_F(ToDoPropertyTest, UnreadableDueDatesAreNamedNotGuessed) {
    const struct {
        std::string due;
        const char* named; // in ToDo::dueDateProblem; empty: the DUE reads
    } cases[] = {
        {"DUE;VALUE=DATE:20261131", "20261131"},
        {"DUE:20260230T100000Z", "20260230T100000Z"},
        {"DUE:20261122T256000", "20261122T256000"},
        {"DUE;VALUE=DATE:20261322", "20261322"},
        {"DUE:garbage", "garbage"},
        {"DUE:", "DUE"},
        {"DUE;VALUE=DATE:20240229", ""},
        {"DUE:20241231T235960Z", ""}, // leap day, leap second
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.due);
        const ToDo toDo = foreign(c.due + "\r\nSUMMARY:still read\r\n");
        EXPECT_EQ(toDo.summary, "still read");
        if (*c.named == '\0') {
            EXPECT_TRUE(toDo.dueDate.has_value());
            EXPECT_FALSE(toDo.dueDateProblem.has_value()) << *toDo.dueDateProblem;
            continue;
        }
        EXPECT_FALSE(toDo.dueDate.has_value()) << seconds(toDo.dueDate).value_or("");
        ASSERT_TRUE(toDo.dueDateProblem.has_value());
        EXPECT_NE(toDo.dueDateProblem->find(c.named), std::string::npos) << *toDo.dueDateProblem;
    }
}

// Completion marks the status too; reopening undoes only what completion did, and a
// to-do another program marked COMPLETED without a date counts as done when last changed.
TEST_F(ToDoPropertyTest, CompletionKeepsStatusInStep) {
    const ToDo toDo = create();
    ASSERT_TRUE(store_->setCompletionDate(toDo.uid, utc("2024-03-02 08:30:00")).ok());
    EXPECT_NE(read(toDo.file).find("STATUS:COMPLETED\r\n"), std::string::npos);
    EXPECT_NE(read(toDo.file).find("PERCENT-COMPLETE:100\r\n"), std::string::npos);
    ASSERT_TRUE(store_->setCompletionDate(toDo.uid, std::nullopt).ok());
    EXPECT_NE(read(toDo.file).find("STATUS:NEEDS-ACTION\r\n"), std::string::npos);
    EXPECT_EQ(read(toDo.file).find("PERCENT-COMPLETE"), std::string::npos);

    foreign("STATUS:CANCELLED\r\nPERCENT-COMPLETE:40\r\n");
    ASSERT_TRUE(store_->setCompletionDate("foreign-1", std::nullopt).ok());
    EXPECT_NE(read(work_.folder / "foreign.ics").find("STATUS:CANCELLED\r\nPERCENT-COMPLETE:40\r\n"),
              std::string::npos);

    const ToDo markedDone = foreign("STATUS:COMPLETED\r\nLAST-MODIFIED:20240305T100000Z\r\n");
    EXPECT_EQ(seconds(markedDone.completionDate), seconds(utc("2024-03-05 10:00:00")));
}

// Display alarms are counted, added after the others and moved one at a time; relative
// triggers of other programs count from the due date or the start.
TEST_F(ToDoPropertyTest, DisplayAlarmsAreCountedAddedAndMoved) {
    const ToDo toDo = create(caltest::titled("Pay rent"));
    ASSERT_TRUE(store_->addDisplayAlarm(toDo.uid, utc("2024-03-01 08:00:00")).ok());
    ASSERT_TRUE(store_->addDisplayAlarm(toDo.uid, utc("2024-03-02 08:00:00")).ok());
    auto moved = store_->moveDisplayAlarm(toDo.uid, 1, utc("2024-03-03 07:30:00"));
    ASSERT_TRUE(moved.ok()) << moved.error().message;
    EXPECT_EQ(moved.value().displayAlarms, (std::vector<std::optional<platform::Date>>{
                                               utc("2024-03-01 08:00:00"), utc("2024-03-03 07:30:00")}));
    EXPECT_NE(read(toDo.file).find("TRIGGER;VALUE=DATE-TIME:20240303T073000Z\r\n"), std::string::npos);
    EXPECT_EQ(store_->moveDisplayAlarm(toDo.uid, 2, utc("2024-03-03 07:30:00")).error().code, ENOENT);

    const ToDo other =
        foreign("DTSTART:20240301T080000Z\r\nDUE:20240301T120000Z\r\n"
                "BEGIN:VALARM\r\nACTION:DISPLAY\r\nDESCRIPTION:a\r\nTRIGGER;RELATED=END:-PT15M\r\n"
                "END:VALARM\r\nBEGIN:VALARM\r\nACTION:AUDIO\r\nTRIGGER:-PT1H\r\nEND:VALARM\r\n"
                "BEGIN:VALARM\r\nACTION:DISPLAY\r\nDESCRIPTION:b\r\nTRIGGER:PT30M\r\nEND:VALARM\r\n");
    EXPECT_EQ(other.displayAlarms, (std::vector<std::optional<platform::Date>>{utc("2024-03-01 11:45:00"),
                                                                               utc("2024-03-01 08:30:00")}));
    auto absolute = store_->moveDisplayAlarm("foreign-1", 0, utc("2024-03-01 10:00:00"));
    ASSERT_TRUE(absolute.ok());
    EXPECT_EQ(absolute.value().displayAlarms, (std::vector<std::optional<platform::Date>>{
                                                  utc("2024-03-01 10:00:00"), utc("2024-03-01 08:30:00")}));
    EXPECT_NE(read(other.file).find("ACTION:AUDIO\r\nTRIGGER:-PT1H\r\n"), std::string::npos);
}

// Values an item file cannot hold are refused with EINVAL before anything is written.
TEST_F(ToDoPropertyTest, UnstorableValuesAreRefused) {
    const ToDo toDo = create(caltest::titled("Keep me"));
    ToDoProperties badUrl;
    badUrl.url = "a\nb";
    const std::string before = snapshot();
    const Result<ToDo> refused[] = {
        store_->setUrl(toDo.uid, std::string("http://a\r\nSUMMARY:injected")),
        store_->setSummary(toDo.uid, std::string("nul\0byte", 8)),
        store_->setDueDate(toDo.uid, utc("2024-01-01 00:00:00").addingSeconds(1e12)),
        store_->addDisplayAlarm(toDo.uid, platform::Date{-1e12}),
        store_->createToDo("Work", badUrl),
    };
    for (const auto& result : refused)
        EXPECT_EQ(result.ok() ? 0 : result.error().code, EINVAL);
    EXPECT_EQ(snapshot(), before);
}

} // namespace
