#pragma once

#include "platform/foundation/Date.h"

#include <string>
#include <string_view>

namespace lumetta {

// The text a note command stores: the date token expanded, and the note placed
// against the note a message has already.
class NoteText {
public:
    // Where the note goes: instead of the existing note, before it, or after it.
    enum Placement { Replace = 0, Before = 1, After = 2 };
    static constexpr const char* kDateFormatDefault = "lumettaDateFormatForNote";

    // Every occurrence of `token` replaced by `date` in `format` (calendar-format
    // conversions such as %m/%d/%Y). An empty token replaces nothing.
    static std::string expandDateToken(std::string_view note, std::string_view token, platform::Date date,
                                       std::string_view format);
    // The note with the localised "$date" token expanded to today, in the user's note
    // date format (%m/%d/%Y unless set).
    static std::string expandToday(std::string_view note);
    // The note date format the user chose, or the default where none is set.
    static std::string dateFormat();

    // `note` joined to `existing` without a separator: before it for placement 1, after
    // it for any other placement.
    static std::string placed(const std::string& note, const std::string& existing, int placement);
};

} // namespace lumetta
