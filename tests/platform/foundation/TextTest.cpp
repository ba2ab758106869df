#include "platform/foundation/Text.h"

#include <gtest/gtest.h>
#include <string>

namespace platform::text {
namespace {

// Case-insensitive search uses full case folding, so one letter may stand for two.
TEST(Text, ContainsCaseInsensitive) {
    struct Case {
        const char* haystack;
        const char* needle;
        bool expected;
    };
    const Case cases[] = {
        {"\u00C9COLE primaire", "\u00E9cole", true},
        {"Stra\u00DFe", "STRASSE", true},
        {"STRASSE", "stra\u00DFe", true},
        {"\u03A3\u038A\u03A3\u03A5\u03A6\u039F\u03A3", "\u03C3\u03AF\u03C3\u03C5\u03C6\u03BF\u03C2", true},
        {"Hello World", "lo wo", true},
        {"Hello", "hellos", false},
        {"Hello", "", false},
        {"", "", false},
        {"", "a", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(containsCaseInsensitive(c.haystack, c.needle), c.expected)
            << c.haystack << " / " << c.needle;
    }
}

// Root-locale rules: no Turkish dotless i, context-sensitive final sigma.
TEST(Text, LowercaseUsesRootLocale) {
    EXPECT_EQ(lowercase("\u00C0BC"), "\u00E0bc");
    EXPECT_EQ(lowercase("TITLE"), "title");
    EXPECT_EQ(lowercase("\u0130"), "i\u0307");
    EXPECT_EQ(lowercase("\u039F\u03A3 \u03A3\u039F"), "\u03BF\u03C2 \u03C3\u03BF");
    EXPECT_EQ(lowercase(""), "");
}

TEST(Text, HasLowercasePrefix) {
    struct Case {
        const char* s;
        const char* prefix;
        bool expected;
    };
    const Case cases[] = {
        {"Important", "IMP", true},
        {"Imp", "important", false},
        {"\u00C4rger", "\u00E4", true},
        {"urgent", "", true},
        {"", "a", false},
        {"Work", "home", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(hasLowercasePrefix(c.s, c.prefix), c.expected) << c.s << " / " << c.prefix;
    }
}

// Accents and case vanish, precomposed and decomposed forms agree; other letters stay apart.
TEST(Text, EqualsIgnoringCaseAndDiacritics) {
    struct Case {
        const char* a;
        const char* b;
        bool expected;
    };
    const Case cases[] = {
        {"Caf\u00E9", "CAFE", true},
        {"caf\u00E9", "cafe\u0301", true},
        {"Cr\u00E8me br\u00FBl\u00E9e", "CREME BRULEE", true},
        {"na\u00EFve", "NAIVE", true},
        {"Stra\u00DFe", "STRASSE", true},
        {"", "", true},
        {"cafe", "cafes", false},
        {"\u00D8re", "ore", false},
        {"work", "home", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(equalsIgnoringCaseAndDiacritics(c.a, c.b), c.expected) << c.a << " / " << c.b;
    }
}

struct MatchCase {
    const char* text;
    const char* pattern;
    bool caseInsensitive;
    bool diacriticInsensitive;
    bool expected;
};

// Whole-string matching with stars, question marks, escapes and the two insensitivities.
TEST(Text, WildcardMatch) {
    const MatchCase cases[] = {
        // Stars and question marks over the whole string.
        {"report.pdf", "*.pdf", false, false, true},
        {"report.pdf", "report", false, false, false},
        {"report.pdf", "r*t.p?f", false, false, true},
        {"abc", "a?c", false, false, true},
        {"ac", "a?c", false, false, false},
        {"ac", "a*c", false, false, true},
        {"mississippi", "m*iss*pi", false, false, true},
        {"mississippi", "m*iss*x", false, false, false},
        {"abcabcabd", "*abd", false, false, true},
        {"", "*", false, false, true},
        {"", "", false, false, true},
        {"a", "", false, false, false},
        {"", "?", false, false, false},
        // `?` is one user-perceived character, however it is spelt.
        {"caf\u00E9", "caf?", false, false, true},
        {"cafe\u0301", "caf?", false, false, true},
        {"\U0001F1E9\U0001F1EA", "?", false, false, true},
        {"q\u0307", "?", false, false, true},
        // Escaped wildcards are literal; a backslash before anything else is itself.
        {"a*b", "a\\*b", false, false, true},
        {"axb", "a\\*b", false, false, false},
        {"a?b", "a\\?b", false, false, true},
        {"axb", "a\\?b", false, false, false},
        {"a\\b", "a\\\\b", false, false, true},
        {"a\\b", "a\\b", false, false, true},
        {"a\\", "a\\", false, false, true},
        // Case and diacritics count only when asked to.
        {"report.pdf", "*.PDF", false, false, false},
        {"report.pdf", "*.PDF", true, false, true},
        {"STRASSE", "stra\u00DFe", true, false, true},
        {"Caf\u00E9", "cafe", true, true, true},
        {"Caf\u00E9", "cafe", true, false, false},
        {"Caf\u00E9", "CAF\u00C9", false, true, false},
        {"Caf\u00E9", "Caf?", false, true, true},
    };
    for (const MatchCase& c : cases) {
        EXPECT_EQ(wildcardMatch(c.text, c.pattern, c.caseInsensitive, c.diacriticInsensitive), c.expected)
            << c.text << " / " << c.pattern;
    }
}

// Many stars, or many words, against a near-miss would take forever with naive backtracking.
TEST(Text, WildcardMatchDoesNotBacktrackExponentially) {
    const std::string text(3000, 'a');
    std::string pattern;
    for (int i = 0; i < 60; ++i) {
        pattern += "*a";
    }
    EXPECT_FALSE(wildcardMatch(text, pattern + "*b", false, false));
    EXPECT_TRUE(wildcardMatch(text, pattern + "*", false, false));
    EXPECT_FALSE(wordMatch(text, pattern + "*b", false, false));

    std::string words;
    for (int i = 0; i < 20000; ++i) {
        words += "ab ";
    }
    EXPECT_FALSE(wordMatch(words, "a*x", false, false));
    EXPECT_TRUE(wordMatch(words + "az", "a*z", false, false));
}

// A word match starts at the start of a word and ends on a word boundary.
TEST(Text, WordMatch) {
    const char* launch = "Project Apollo launch";
    const MatchCase cases[] = {
        {launch, "apo*", true, false, true},
        {launch, "apollo", true, false, true},
        {launch, "project apollo", true, false, true},
        {launch, "lau?ch", true, false, true},
        {launch, "*unch", true, false, true},
        {launch, "Apollo", false, false, true},
        {launch, "pollo", true, false, false},
        {launch, "apo", true, false, false},
        {launch, "apollo", false, false, false},
        {launch, "apollo launc", true, false, false},
        {"Le caf\u00E9 noir", "cafe", true, true, true},
        {"Le caf\u00E9 noir", "cafe", true, false, false},
        {"Le cafe\u0301 noir", "caf\u00E9", false, false, true},
        {"Re: Budget-Plan 2024", "plan", true, false, true},
        {"Re: Budget-Plan 2024", "2024", true, false, true},
        {"Re: Budget-Plan 2024", "udget*", true, false, false},
        {"ab ab bc", "b*", true, false, true},
        {"ab ab bc", "?c", true, false, true},
        {"word", "", true, false, false},
        {"", "*", true, false, false},
        {"  ,  ", "*", true, false, false},
    };
    for (const MatchCase& c : cases) {
        EXPECT_EQ(wordMatch(c.text, c.pattern, c.caseInsensitive, c.diacriticInsensitive), c.expected)
            << c.text << " / " << c.pattern;
    }
}

int sign(int value) {
    return (value > 0) - (value < 0);
}

TEST(Text, CompareCaseInsensitive) {
    struct Case {
        const char* a;
        const char* b;
        int expected;
    };
    const Case cases[] = {
        {"apple", "APPLE", 0},
        {"apple", "Banana", -1},
        {"b", "A", 1},
        {"a", "ab", -1},
        {"", "", 0},
        {"Stra\u00DFe", "STRASSE", 0},
        {"\u00E9", "E\u0301", 0},
        {"\u00E9", "f", 1},
        {"\U0001F600", "\uFFFD", 1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(sign(compareCaseInsensitive(c.a, c.b)), c.expected) << c.a << " / " << c.b;
    }
}

} // namespace
} // namespace platform::text
