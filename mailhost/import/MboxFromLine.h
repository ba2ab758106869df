#pragma once

#include "platform/foundation/Date.h"

#include <optional>
#include <string_view>

namespace mailhost {

// The "From " line that starts each entry of an mbox file:
// "From sender@example.com Sat Jan  3 01:05:34 1996".
class MboxFromLine {
public:
    // The delivery date the line records. Writers disagree on the layout (ctime order,
    // RFC 822 order, with or without a numeric zone), so the fields are picked out by
    // their shape after the sender; a line without a month, day, time and year gives
    // nothing. Dates without a zone are taken as UTC.
    static std::optional<platform::Date> parseDate(std::string_view line);
};

} // namespace mailhost
