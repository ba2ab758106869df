#pragma once

#include "platform/foundation/Date.h"
#include "platform/foundation/Result.h"

#include <string_view>

namespace mailhost {

// What `lumetta tag --due` accepts: a date (YYYY-MM-DD, optionally followed by THH:MM
// or THH:MM:SS, then Z or an offset such as +02:00; without one the time is local and a
// date alone is local midnight), or one of the words on, off and none (any case).
class DueDateArgument {
public:
    enum class Kind { Date, On, Off, None };
    struct Reading {
        Kind kind = Kind::Date;
        platform::Date date;
    };

    // An error that quotes the text and shows the accepted forms when it is neither.
    [[nodiscard]] static platform::Result<Reading> read(std::string_view text);
};

} // namespace mailhost
