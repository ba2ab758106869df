#pragma once

#include <string>
#include <string_view>

namespace platform::spotlight {

// A quoted value read as a pattern, the way text::wildcardMatch reads it: `*` is any run of
// characters, `?` one character, and a backslash makes the next `*`, `?` or `\` literal.
// An index can serve the literal head before the first wildcard.
class ValuePattern {
public:
    explicit ValuePattern(std::string_view source);

    // As written, for wildcardMatch and wordMatch.
    const std::string& source() const { return source_; }
    // The unescaped text before the first wildcard: all of it when there is none.
    const std::string& head() const { return head_; }
    // The whole text unescaped, wildcards taken as the characters they are (for ordering).
    const std::string& literal() const { return literal_; }
    bool hasWildcards() const { return hasWildcards_; }
    // The head and then only stars: the pattern asks for strings that start with the head.
    bool isPrefix() const { return isPrefix_; }
    // Only stars: every string matches.
    bool matchesEverything() const { return matchesEverything_; }
    // For `*text*` (stars, text without wildcards, stars), the unescaped text: the pattern
    // asks for strings that contain it. Empty for any other pattern.
    const std::string& infix() const { return infix_; }

private:
    std::string source_;
    std::string head_;
    std::string literal_;
    std::string infix_;
    bool hasWildcards_ = false;
    bool isPrefix_ = false;
    bool matchesEverything_ = false;
};

} // namespace platform::spotlight
