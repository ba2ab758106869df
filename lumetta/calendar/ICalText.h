#pragma once

#include "platform/appleevents/AEDesc.h"

#include <string>
#include <string_view>

namespace lumetta {

// Text as the calendar client sends it.
class ICalText {
public:
    // 'TEXT' holding Mac OS Roman bytes, the encoding the calendar reads text in. Text
    // that Mac OS Roman cannot hold (most scripts besides Latin) goes as 'utf8' instead,
    // which the calendar reads as well, so a title is never cut or mangled.
    static platform::appleevents::AEDesc descriptor(std::string_view utf8);

    // A url percent-escaped over its Mac OS Roman bytes. A path Mac OS Roman cannot hold
    // is escaped over its UTF-8 bytes instead: the part the refresh reads back, the
    // message file's name, is plain digits either way.
    static std::string escapedURL(std::string_view url);
};

} // namespace lumetta
