#include "platform/foundation/XmlText.h"

#include <charconv>

namespace platform {

namespace {

// The characters XML 1.0 allows in a document, so that a character reference cannot
// smuggle in a NUL or half a surrogate pair.
bool isXmlChar(std::uint32_t cp) {
    return cp == 0x9 || cp == 0xA || cp == 0xD || (cp >= 0x20 && cp <= 0xD7FF) ||
           (cp >= 0xE000 && cp <= 0xFFFD) || (cp >= 0x10000 && cp <= 0x10FFFF);
}

} // namespace

void XmlText::appendUtf8(std::string& out, std::uint32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

bool XmlText::appendReference(std::string_view name, std::string& out) {
    static constexpr std::pair<std::string_view, char> kNamed[] = {
        {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
    for (const auto& [entity, c] : kNamed) {
        if (name == entity) {
            out += c;
            return true;
        }
    }
    if (name.size() < 2 || name[0] != '#')
        return false;
    const bool hex = name[1] == 'x';
    const std::string_view digits = name.substr(hex ? 2 : 1);
    std::uint32_t cp = 0;
    const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), cp, hex ? 16 : 10);
    if (digits.empty() || ec != std::errc() || end != digits.data() + digits.size() || !isXmlChar(cp))
        return false;
    appendUtf8(out, cp);
    return true;
}

} // namespace platform
