#pragma once

#include "platform/foundation/Date.h"

#include <optional>
#include <string_view>

namespace calendarapp {

// How late a to-do's stamp can be, found without parsing its file: the later of the
// file's modification time and every LAST-MODIFIED line in it. A modified-since query
// needs no more than this for the many to-dos that did not change, and parses only
// the rest.
class StampBound {
public:
    // Nothing when a LAST-MODIFIED line is not a plain UTC date-time
    // ("LAST-MODIFIED:20240301T110000Z"): then only parsing the file can tell.
    static std::optional<platform::Date> of(std::string_view bytes, platform::Date fileModified);
};

} // namespace calendarapp
