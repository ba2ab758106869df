#include "platform/spotlight/query/TextCondition.h"

#include "platform/foundation/Text.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace platform::spotlight {

namespace {

struct HeadShape {
    bool hasWord = false;
    // Words of letters and digits with single spaces between: then the full-text index's
    // phrase match is what a word match with c and d asks for.
    bool plainWords = true;
};

HeadShape shapeOf(std::string_view head) {
    HeadShape shape;
    bool afterSpace = true;
    const auto length = static_cast<int32_t>(head.size());
    for (int32_t i = 0; i < length;) {
        UChar32 c = 0;
        U8_NEXT(head.data(), i, length, c);
        const bool space = c == ' ';
        if (u_isalnum(c))
            shape.hasWord = true;
        else if (!space || afterSpace)
            shape.plainWords = false;
        afterSpace = space;
    }
    shape.plainWords = shape.plainWords && shape.hasWord && !afterSpace;
    return shape;
}

// A phrase in the full-text syntax: quoted, with quotes doubled, so that no character of
// the value can act as an operator. The expression parser stops at a NUL byte; as a space
// it separates words, as it does in the text, and the exact check still sees the NUL.
std::string phrase(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        out += c == '\0' ? ' ' : c;
        if (c == '"')
            out += '"';
    }
    return out + "\"";
}

} // namespace

TextCondition::TextCondition(std::string_view value, QueryModifiers modifiers)
    : pattern_(value), modifiers_(modifiers) {
    if (pattern_.matchesEverything()) {
        needsCheck_ = false;
        return;
    }
    const HeadShape shape = shapeOf(pattern_.head());
    if (!shape.hasWord)
        return;
    // A wildcard after the head makes its last word a prefix.
    fullTextQuery_ = phrase(pattern_.head()) + (pattern_.hasWildcards() ? "*" : "");
    needsCheck_ = !(modifiers_.caseInsensitive && modifiers_.diacriticInsensitive && shape.plainWords &&
                    !pattern_.hasWildcards());
}

bool TextCondition::matches(std::string_view text) const {
    return pattern_.matchesEverything() ||
           text::wordMatch(text, pattern_.source(), modifiers_.caseInsensitive,
                           modifiers_.diacriticInsensitive);
}

} // namespace platform::spotlight
