#include "CalendarStoreSupport.h"
#include "calendarapp/store/CalendarFolders.h"
#include "calendarapp/store/ToDoUid.h"

#include <cerrno>
#include <set>

using namespace calendarapp;
using caltest::utc;
namespace fs = std::filesystem;

namespace {

class ToDoStoreTest : public caltest::StoreTest {
protected:
    std::vector<std::string> uids(const platform::Result<ToDoListing>& listing) {
        std::vector<std::string> out;
        if (listing)
            for (const ToDo& toDo : listing.value().toDos)
                out.push_back(toDo.uid);
        std::sort(out.begin(), out.end());
        return out;
    }
    std::string item(const std::string& uid, const std::string& extra = {}) {
        return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nBEGIN:VTODO\r\nUID:" + uid + "\r\n" + extra +
               "END:VTODO\r\nEND:VCALENDAR\r\n";
    }
};

// Calendar folders get safe, unique names; the calendar's own name lives in displayname,
// and a folder without one is named after itself.
TEST_F(ToDoStoreTest, CalendarsAreFoldersNamedByDisplayname) {
    const std::pair<const char*, const char*> folders[] = {{"WORK!", "work-2"},
                                                           {"Büro & Co.", "b-ro-co"},
                                                           {"../../etc", "etc"},
                                                           {"日本", "calendar"},
                                                           {"  Spaced  ", "spaced"}};
    for (const auto& [name, folder] : folders) {
        auto calendar = store_->createCalendar(name);
        ASSERT_TRUE(calendar.ok()) << name << ": " << calendar.error().message;
        EXPECT_EQ(calendar.value().folder, root() / folder);
    }
    fs::create_directories(root() / "synced-elsewhere");
    fs::create_directories(root() / ".hidden");
    testsupport::writeBytes(root() / "etc" / "displayname", "Renamed elsewhere\n");

    auto found = freshStore().findCalendar("Renamed elsewhere");
    ASSERT_TRUE(found.ok());
    EXPECT_EQ(found.value().folder, root() / "etc");
    EXPECT_TRUE(freshStore().findCalendar("synced-elsewhere").ok());
    EXPECT_EQ(freshStore().findCalendar(".hidden").error().code, ENOENT);
    EXPECT_EQ(freshStore().calendars().value().size(), 7u);

    EXPECT_EQ(store_->createCalendar("Work").error().code, EEXIST);
    for (const char* refused : {"", "   ", "two\nlines"})
        EXPECT_EQ(store_->createCalendar(refused).error().code, EINVAL);
}

// New to-dos get distinct UIDs that name their files; any to-do is found by UID in any
// calendar, whatever its file is called.
TEST_F(ToDoStoreTest, ToDosAreFoundByUidAcrossCalendars) {
    std::set<std::string> seen;
    for (int i = 0; i < 20; ++i) {
        const ToDo toDo = create();
        EXPECT_TRUE(ToDoUid::isSafeFileName(toDo.uid)) << toDo.uid;
        EXPECT_EQ(toDo.file, work_.folder / (toDo.uid + ".ics"));
        seen.insert(toDo.uid);
    }
    EXPECT_EQ(seen.size(), 20u);

    ASSERT_TRUE(store_->createCalendar("Home").ok());
    testsupport::writeBytes(root() / "home" / "x.ics", item("weird uid/with slash"));
    auto found = freshStore().findToDo("weird uid/with slash");
    ASSERT_TRUE(found.ok());
    EXPECT_EQ(found.value().calendar.name, "Home");
    EXPECT_EQ(uids(store_->allToDos()).size(), 21u);
    EXPECT_EQ(store_->findToDo("nobody").error().code, ENOENT);
    EXPECT_EQ(store_->createToDo("Nowhere", {}).error().code, ENOENT);
}

// Only visible *.ics files are items: temporary files, files without an extension and
// calendar metadata are not.
TEST_F(ToDoStoreTest, OnlyIcsFilesAreItems) {
    place("kept.ics", item("kept"));
    for (const char* ignored :
         {"half-written.ics.tmp", ".kept.ics.ABC123.tmp", "no-extension", ".hidden.ics", "color"})
        place(ignored, item(ignored));
    EXPECT_EQ(uids(store_->toDos(work_)), std::vector<std::string>{"kept"});
}

// Another program's changes show on the next call of the same store object: a file
// replaced, one removed, one added.
TEST_F(ToDoStoreTest, ChangesByOtherProgramsShowWithoutRestart) {
    const fs::path file = place("a.ics", item("a", "SUMMARY:old\r\n"));
    place("b.ics", item("b"));
    ASSERT_EQ(store_->findToDo("a").value().summary, "old");
    ASSERT_EQ(uids(store_->toDos(work_)).size(), 2u);

    testsupport::writeBytes(work_.folder / ".a.tmp", item("a", "SUMMARY:new\r\nSTATUS:COMPLETED\r\n"));
    fs::rename(work_.folder / ".a.tmp", file);
    fs::remove(work_.folder / "b.ics");
    place("c.ics", item("c"));
    EXPECT_EQ(store_->findToDo("a").value().summary, "new");
    EXPECT_TRUE(store_->findToDo("a").value().completionDate.has_value());
    EXPECT_EQ(uids(store_->toDos(work_)), (std::vector<std::string>{"a", "c"}));
}

// Moving keeps the file name and leaves no copy behind; deleting removes the file.
TEST_F(ToDoStoreTest, MoveAndDelete) {
    ASSERT_TRUE(store_->createCalendar("Home").ok());
    place("named-by-other.ics", item("m", "SUMMARY:move me\r\n"));
    auto moved = store_->moveToDo("m", "Home");
    ASSERT_TRUE(moved.ok()) << moved.error().message;
    EXPECT_EQ(moved.value().file, root() / "home" / "named-by-other.ics");
    EXPECT_EQ(moved.value().calendar.name, "Home");
    EXPECT_EQ(moved.value().summary, "move me");
    EXPECT_FALSE(fs::exists(work_.folder / "named-by-other.ics"));
    EXPECT_EQ(store_->moveToDo("m", "Nowhere").error().code, ENOENT);

    place("named-by-other.ics", item("n"));
    EXPECT_EQ(store_->moveToDo("n", "Home").error().code, EEXIST);
    EXPECT_TRUE(fs::exists(work_.folder / "named-by-other.ics"));

    ASSERT_TRUE(store_->deleteToDo("m").ok());
    EXPECT_FALSE(fs::exists(root() / "home" / "named-by-other.ics"));
    EXPECT_EQ(store_->deleteToDo("m").error().code, ENOENT);
}

// A folder or file marked read-only refuses every change with EACCES and keeps every byte.
TEST_F(ToDoStoreTest, ReadOnlyFoldersAndFilesAreLeftIntact) {
    const ToDo toDo = create(caltest::titled("Stay"));
    ASSERT_TRUE(store_->addDisplayAlarm(toDo.uid, utc("2024-03-01 08:00:00")).ok());
    ASSERT_TRUE(store_->createCalendar("Home").ok());
    testsupport::writeBytes(root() / "home" / "h.ics", item("h"));
    const std::string before = snapshot();
    const auto writable = fs::perms::owner_all;
    const auto readOnly = fs::perms::owner_read | fs::perms::owner_exec;

    fs::permissions(work_.folder, readOnly);
    const platform::Result<ToDo> refused[] = {
        store_->createToDo("Work", caltest::titled("new")),
        store_->setSummary(toDo.uid, std::string("changed")),
        store_->setCompletionDate(toDo.uid, utc("2024-03-01 08:00:00")),
        store_->addDisplayAlarm(toDo.uid, utc("2024-03-01 09:00:00")),
        store_->moveDisplayAlarm(toDo.uid, 0, utc("2024-03-01 09:00:00")),
        store_->moveToDo(toDo.uid, "Home"),
        store_->moveToDo("h", "Work"),
    };
    for (const auto& result : refused)
        EXPECT_EQ(result.ok() ? 0 : result.error().code, EACCES);
    EXPECT_EQ(store_->deleteToDo(toDo.uid).error().code, EACCES);
    fs::permissions(root(), readOnly);
    EXPECT_EQ(store_->createCalendar("Later").error().code, EACCES);
    fs::permissions(root(), writable);
    fs::permissions(work_.folder, writable);

    fs::permissions(toDo.file, fs::perms::owner_read);
    EXPECT_EQ(store_->setSummary(toDo.uid, std::string("changed")).error().code, EACCES);
    EXPECT_EQ(store_->deleteToDo(toDo.uid).error().code, EACCES);
    fs::permissions(toDo.file, fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(snapshot(), before);
}

// The stamp is the later of the to-do's LAST-MODIFIED and the file's modification time;
// the query answers the to-dos stamped strictly after its date, whatever form the line
// takes and whatever other components of the file say.
TEST_F(ToDoStoreTest, ModifiedSinceComparesStamps) {
    const std::string zoneChangedLater = "BEGIN:VTIMEZONE\r\nTZID:Z\r\nLAST-MODIFIED:20240310T000000Z\r\n"
                                         "BEGIN:STANDARD\r\nDTSTART:19700101T000000\r\nTZOFFSETFROM:+0000\r\n"
                                         "TZOFFSETTO:+0000\r\nEND:STANDARD\r\nEND:VTIMEZONE\r\n";
    const struct {
        const char* uid;
        std::string before;
        std::string header;
        const char* fileTime;
        const char* stamp;
    } cases[] = {
        {"header-later", "", "LAST-MODIFIED:20240305T100000Z\r\n", "2024-03-01 10:00:00",
         "2024-03-05 10:00:00"},
        {"file-later", "", "LAST-MODIFIED:20240301T100000Z\r\n", "2024-03-04 10:00:00",
         "2024-03-04 10:00:00"},
        {"no-header", "", "", "2024-03-03 10:00:00", "2024-03-03 10:00:00"},
        {"with-value", "", "LAST-MODIFIED;VALUE=DATE-TIME:20240303T120000Z\r\n", "2024-02-01 10:00:00",
         "2024-03-03 12:00:00"},
        {"zone-later", zoneChangedLater, "LAST-MODIFIED:20240201T100000Z\r\n", "2024-02-01 10:00:00",
         "2024-02-01 10:00:00"},
        {"old", "", "LAST-MODIFIED:20240201T100000Z\r\n", "2024-02-01 10:00:00", "2024-02-01 10:00:00"},
    };
    for (const auto& c : cases) {
        std::string text = item(c.uid, c.header);
        text.insert(text.find("BEGIN:VTODO"), c.before);
        setModified(place(std::string(c.uid) + ".ics", text), utc(c.fileTime));
    }
    for (const auto& c : cases)
        EXPECT_EQ(freshStore().findToDo(c.uid).value().stamp, utc(c.stamp)) << c.uid;
    EXPECT_EQ(uids(store_->toDosModifiedSince(utc("2024-03-02 00:00:00"))),
              (std::vector<std::string>{"file-later", "header-later", "no-header", "with-value"}));
    EXPECT_EQ(uids(store_->toDosModifiedSince(utc("2024-03-04 10:00:00"))),
              std::vector<std::string>{"header-later"});

    // A change through the store stamps the to-do now.
    ASSERT_TRUE(store_->setSummary("old", std::string("touched")).ok());
    EXPECT_EQ(uids(store_->toDosModifiedSince(utc("2024-03-06 00:00:00"))), std::vector<std::string>{"old"});
}

// Setting a value the to-do already holds writes nothing: the file, its stamp and
// SEQUENCE stay, so syncing programs and the next modified-since query do not see a change.
TEST_F(ToDoStoreTest, SettingTheSameValueLeavesTheFileAlone) {
    const std::string text = item("same", "SUMMARY:Call Anna\r\nURL:file:///m/12.emlx\r\nPRIORITY:5\r\n"
                                          "DUE:20240305T100000Z\r\nSEQUENCE:3\r\n");
    const fs::path file = place("same.ics", text);
    setModified(file, utc("2024-02-01 10:00:00"));
    const auto before = snapshot();
    ASSERT_TRUE(store_->setSummary("same", std::string("Call Anna")).ok());
    ASSERT_TRUE(store_->setUrl("same", std::string("file:///m/12.emlx")).ok());
    ASSERT_TRUE(store_->setPriority("same", 5).ok());
    ASSERT_TRUE(store_->setDueDate("same", utc("2024-03-05 10:00:00")).ok());
    ASSERT_TRUE(store_->setCompletionDate("same", std::nullopt).ok());
    EXPECT_EQ(snapshot(), before);
    EXPECT_TRUE(uids(store_->toDosModifiedSince(utc("2024-03-01 00:00:00"))).empty());

    // A real change still stamps and counts up.
    const auto changed = store_->setSummary("same", std::string("Call Anna back"));
    ASSERT_TRUE(changed.ok());
    EXPECT_EQ(changed.value().summary, "Call Anna back");
    EXPECT_NE(snapshot(), before);
    EXPECT_EQ(uids(store_->toDosModifiedSince(utc("2024-03-01 00:00:00"))), std::vector<std::string>{"same"});
}

} // namespace
