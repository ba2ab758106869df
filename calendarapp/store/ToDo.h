#pragma once

#include "calendarapp/store/Calendar.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Result.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace calendarapp {

// What a caller sets on a to-do. Text is UTF-8; dates are platform dates. An empty
// optional (or an empty string) means the property is absent.
struct ToDoProperties {
    std::optional<std::string> summary;
    std::optional<std::string> description;
    std::optional<std::string> url;
    std::optional<platform::Date> dueDate;
    std::optional<platform::Date> completionDate;
    // The iCalendar priority as the store keeps it: 1 high, 5 medium, 9 low, 0 none
    // (see ToDoPriority for how other numbers are read).
    int priority = 0;

    friend bool operator==(const ToDoProperties&, const ToDoProperties&) = default;
};

// A to-do as read from its item file at the time of the call; a snapshot, not a live
// object: the next call reads the file again.
struct ToDo : ToDoProperties {
    std::string uid;
    Calendar calendar;
    std::filesystem::path file;
    // The later of the to-do's LAST-MODIFIED and its file's modification time, so that a
    // program that rewrites the file without touching LAST-MODIFIED still counts as a change.
    platform::Date stamp;
    // Trigger dates of the display alarms in file order. A relative trigger counts from
    // the start or the due date; it has no date when that is missing.
    std::vector<std::optional<platform::Date>> displayAlarms;
    // Why the file's DUE cannot be read (a day that does not exist, a value that is no
    // date); dueDate is then empty, which must not be taken for "no due date".
    std::optional<std::string> dueDateProblem;
};

// The to-dos of one or more calendars. Item files that cannot be read do not stop a
// listing: each one is left out and named in `skipped` with the reason.
struct ToDoListing {
    std::vector<ToDo> toDos;
    std::vector<platform::Error> skipped;
};

} // namespace calendarapp
