#pragma once

#include "platform/foundation/Result.h"

#include <string>
#include <string_view>

namespace platform {

// Mac OS Roman, the single-byte encoding of the classic Mac, which the calendar and mail
// applications still use for file URLs. Conversion goes through ICU's "macintosh" table
// (0xC6 is U+2206 INCREMENT, 0xF0 the Apple logo U+F8FF, 0xDB the euro sign); glibc's
// table differs at those bytes.
class MacRoman {
public:
    // UTF-8 to Mac OS Roman bytes, after canonical composition (a decomposed "Ç" is
    // written as 0x82). A character the encoding lacks is an error naming it; nothing is
    // dropped or replaced.
    static Result<std::string> encode(std::string_view utf8);

    // Mac OS Roman bytes to UTF-8. Every byte has a character, so only a missing ICU
    // table makes this fail.
    static Result<std::string> decode(std::string_view bytes);

    // Encodes to Mac OS Roman, then writes every byte that may not stand in a URL as %XX
    // (upper-case hex): "file:///tmp/a b/Ça.emlx" becomes "file:///tmp/a%20b/%82a.emlx".
    static Result<std::string> percentEscape(std::string_view utf8);
    // The same escaping over bytes as they stand, whatever their encoding.
    static std::string percentEscapeBytes(std::string_view bytes);

    // The inverse: %XX sequences (either case) become bytes and the bytes are read as Mac
    // OS Roman. A `%` without two hex digits after it is an error.
    static Result<std::string> percentUnescape(std::string_view escaped);
};

} // namespace platform
