#include "platform/appleevents/OSType.h"

#include <cstdio>

namespace platform::appleevents {

OSType fourCharCodeFrom(std::string_view code) {
    if (code.size() != 4)
        return 0;
    OSType value = 0;
    for (const char c : code)
        value = (value << 8) | static_cast<unsigned char>(c);
    return value;
}

std::string osTypeString(OSType code) {
    std::string chars;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto c = static_cast<unsigned char>((code >> shift) & 0xFF);
        if (c < 0x20 || c > 0x7E || c == '\'') {
            char hex[11];
            std::snprintf(hex, sizeof hex, "0x%08X", static_cast<unsigned>(code));
            return hex;
        }
        chars.push_back(static_cast<char>(c));
    }
    return "'" + chars + "'";
}

} // namespace platform::appleevents
