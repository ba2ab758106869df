#include "lumetta/calendar/ICalText.h"

#include "platform/foundation/MacRoman.h"

namespace lumetta {

using platform::appleevents::AEDesc;

AEDesc ICalText::descriptor(std::string_view utf8) {
    if (auto roman = AEDesc::macRomanText(utf8))
        return std::move(roman.value());
    return AEDesc::utf8Text(utf8);
}

std::string ICalText::escapedURL(std::string_view url) {
    if (auto escaped = platform::MacRoman::percentEscape(url))
        return std::move(escaped.value());
    return platform::MacRoman::percentEscapeBytes(url);
}

} // namespace lumetta
