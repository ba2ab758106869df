#pragma once

#include "calendarapp/store/Calendar.h"
#include "calendarapp/store/CalendarFolders.h"
#include "calendarapp/store/ToDo.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Result.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace calendarapp {

class ToDoCache;
class ToDoEditor;

// The calendar application's to-dos, kept as a vdir store that other programs read and
// change too: one folder per calendar, one iCalendar item file per to-do.
//
// Every call looks at the files again, so changes made by other programs show on the
// next call; parsed files are only reused while their inode, size and modification time
// stay the same. Changes are written atomically (a temporary ".tmp" file in the same
// folder, renamed over the item's original file name) and keep whatever the store does
// not understand. Errors carry an errno-style code: ENOENT (no such calendar or to-do),
// EEXIST, EINVAL (a value that cannot be stored), EACCES (a read-only folder or file),
// EBADMSG (an item file that is not a readable to-do), or the system's own.
class ToDoStore {
public:
    explicit ToDoStore(std::filesystem::path root);
    ~ToDoStore();
    ToDoStore(ToDoStore&&) noexcept;
    ToDoStore& operator=(ToDoStore&&) noexcept;

    // $XDG_DATA_HOME/calendars, or ~/.local/share/calendars when that is not set: where
    // to-do programs look for the user's calendars.
    static std::filesystem::path defaultRoot();

    const std::filesystem::path& root() const { return folders_.root(); }

    // Calendars.
    platform::Result<std::vector<Calendar>> calendars() const;
    platform::Result<Calendar> findCalendar(std::string_view name) const;
    platform::Result<Calendar> createCalendar(std::string_view name);

    // Reading to-dos. A listing skips (and names) item files it cannot read.
    platform::Result<ToDoListing> toDos(const Calendar& calendar) const;
    platform::Result<ToDoListing> allToDos() const;
    // The to-dos whose stamp is later than `date`. Files not written since `date` are
    // only scanned for their stamps; damaged ones among them are not reported here.
    platform::Result<ToDoListing> toDosModifiedSince(platform::Date date) const;
    // ENOENT only when every item file was read and none holds the UID; EBADMSG, naming
    // the file, when one that may hold it cannot be read.
    platform::Result<ToDo> findToDo(std::string_view uid) const;

    // A new to-do at the end of the named calendar, with a fresh UID, in `<uid>.ics`.
    platform::Result<ToDo> createToDo(std::string_view calendarName, const ToDoProperties& properties);

    // Changing one property. Every change sets LAST-MODIFIED and DTSTAMP to now and counts
    // SEQUENCE up; a set that leaves the to-do as it was writes nothing. Each returns the
    // to-do as it now stands. Absent or empty clears.
    platform::Result<ToDo> setSummary(std::string_view uid, const std::optional<std::string>& summary);
    platform::Result<ToDo> setDescription(std::string_view uid,
                                          const std::optional<std::string>& description);
    platform::Result<ToDo> setUrl(std::string_view uid, const std::optional<std::string>& url);
    platform::Result<ToDo> setDueDate(std::string_view uid, std::optional<platform::Date> due);
    // A completion date also marks the to-do completed; clearing it reopens the to-do.
    platform::Result<ToDo> setCompletionDate(std::string_view uid, std::optional<platform::Date> completed);
    // 0-9 as in iCalendar, kept as 1, 5, 9 or 0 (see ToDoPriority).
    platform::Result<ToDo> setPriority(std::string_view uid, int priority);

    // Display alarms; ToDo::displayAlarms counts them. `index` counts from 0.
    platform::Result<ToDo> addDisplayAlarm(std::string_view uid, platform::Date trigger);
    platform::Result<ToDo> moveDisplayAlarm(std::string_view uid, std::size_t index, platform::Date trigger);

    // Moves the to-do's file, under its own file name, into the named calendar.
    platform::Result<ToDo> moveToDo(std::string_view uid, std::string_view calendarName);
    platform::Result<void> deleteToDo(std::string_view uid);

private:
    using Edit = std::function<platform::Result<void>(ToDoEditor&)>;

    platform::Result<ToDo> load(const std::filesystem::path& file, const Calendar& calendar) const;
    platform::Result<ToDo> change(std::string_view uid, const Edit& edit);

    CalendarFolders folders_;
    std::unique_ptr<ToDoCache> cache_;
};

} // namespace calendarapp
