#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

// Character data shared by the XML readers (property lists and interface files).
class XmlText {
public:
    static void appendUtf8(std::string& out, std::uint32_t codePoint);
    // Appends what the reference `&name;` stands for (the five named entities, or a
    // decimal "#NN" / hex "#xHH" character reference to a character XML allows);
    // false when it names nothing.
    static bool appendReference(std::string_view name, std::string& out);
};

} // namespace platform
