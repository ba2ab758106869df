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
    static constexpr char kHex[] = "0123456789ABCDEF";
    static constexpr std::string_view kKept = "-_.!~*'();/?:@&=+$,#";
    std::string escaped;
    for (const char c : url) {
        const auto byte = static_cast<unsigned char>(c);
        const bool plain = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
                           (byte >= '0' && byte <= '9') || kKept.find(c) != std::string_view::npos;
        if (plain) {
            escaped.push_back(c);
        } else {
            escaped.push_back('%');
            escaped.push_back(kHex[byte >> 4]);
            escaped.push_back(kHex[byte & 0x0F]);
        }
    }
    return escaped;
}

} // namespace lumetta
