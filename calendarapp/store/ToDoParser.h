#pragma once

#include "calendarapp/store/ToDo.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Result.h"

#include <string_view>

namespace calendarapp {

// Reads the to-do of one item file through libical. Fills everything but the calendar
// and the file, which only the caller knows.
class ToDoParser {
public:
    // `fileModified` is the file's modification time: it takes part in the stamp, and it
    // stands in for the completion date of a to-do another program marked COMPLETED
    // without saying when. Fails, with the reason, for bytes that are not one calendar
    // object holding a to-do with a UID, and for a file that stops before its closing
    // END:VCALENDAR. A DUE that cannot be read does not fail the to-do: it is named in
    // ToDo::dueDateProblem.
    static platform::Result<ToDo> parse(std::string_view bytes, platform::Date fileModified);
};

} // namespace calendarapp
