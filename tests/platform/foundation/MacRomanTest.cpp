#include "platform/foundation/MacRoman.h"

#include <gtest/gtest.h>
#include <set>
#include <string>

namespace platform {
namespace {

// Bytes where Mac OS Roman tables disagree, pinned to ICU's "macintosh" table: 0xC6 is
// INCREMENT (not GREEK CAPITAL DELTA) and 0xF0 the Apple logo (not a private-use E01E).
TEST(MacRoman, TableAgreesWithIcuMacintosh) {
    struct Case {
        unsigned char byte;
        const char* utf8;
    };
    const Case cases[] = {
        {0xC6, "\u2206"}, {0xF0, "\uF8FF"}, {0xDB, "\u20AC"}, {0x82, "\u00C7"}, {0xBD, "\u03A9"},
        {0xA4, "\u00A7"}, {0xDE, "\uFB01"}, {0xCA, "\u00A0"}, {0x7F, "\x7F"},   {0x41, "A"},
    };
    for (const Case& c : cases) {
        const std::string byte(1, static_cast<char>(c.byte));
        const auto decoded = MacRoman::decode(byte);
        ASSERT_TRUE(decoded.ok()) << int(c.byte);
        EXPECT_EQ(decoded.value(), c.utf8) << int(c.byte);
        const auto encoded = MacRoman::encode(c.utf8);
        ASSERT_TRUE(encoded.ok()) << encoded.error().message;
        EXPECT_EQ(encoded.value(), byte);
    }
}

TEST(MacRoman, EveryByteSurvivesDecodeAndEncode) {
    std::string all;
    for (int b = 0; b < 256; ++b) {
        all.push_back(static_cast<char>(b));
    }
    const auto decoded = MacRoman::decode(all);
    ASSERT_TRUE(decoded.ok());
    const auto encoded = MacRoman::encode(decoded.value());
    ASSERT_TRUE(encoded.ok()) << encoded.error().message;
    EXPECT_EQ(encoded.value(), all);

    std::set<std::string> characters;
    for (int b = 0; b < 256; ++b) {
        characters.insert(MacRoman::decode(std::string(1, static_cast<char>(b))).value());
    }
    EXPECT_EQ(characters.size(), 256u);
}

// Characters outside the encoding are refused by name, never dropped or substituted.
// U+00A4 and U+0394 are what other tables put at 0xDB and 0xC6.
TEST(MacRoman, UnwritableCharactersAreNamedErrors) {
    struct Case {
        const char* utf8;
        const char* named;
    };
    const Case cases[] = {
        {"a\u4E2Db", "U+4E2D"},
        {"\u00A4", "U+00A4"},
        {"x\u0394", "U+0394"},
        {"smile \U0001F600", "U+1F600"},
    };
    for (const Case& c : cases) {
        const auto encoded = MacRoman::encode(c.utf8);
        ASSERT_FALSE(encoded.ok()) << c.utf8;
        EXPECT_EQ(encoded.error().message, std::string(c.named) + " cannot be written in Mac OS Roman");
    }
}

TEST(MacRoman, DecomposedAccentsAreComposedBeforeEncoding) {
    const auto encoded = MacRoman::encode("C\u0327a e\u0301");
    ASSERT_TRUE(encoded.ok()) << encoded.error().message;
    EXPECT_EQ(encoded.value(), "\x82"
                               "a \x8E");
}

TEST(MacRoman, IllFormedUtf8IsAnError) {
    for (const char* bad : {"\xC3", "a\xFF", "\xED\xA0\x80"}) {
        EXPECT_FALSE(MacRoman::encode(bad).ok()) << bad;
        EXPECT_FALSE(MacRoman::percentEscape(bad).ok()) << bad;
    }
}

// URL escaping keeps exactly the legal URL characters and writes every other byte as %XX.
TEST(MacRomanPercent, EscapesEveryByteThatIsNotLegalInUrls) {
    struct Case {
        const char* utf8;
        const char* escaped;
    };
    const Case cases[] = {
        {"file:///tmp/a b/\u00C7a.emlx", "file:///tmp/a%20b/%82a.emlx"},
        {"azAZ09-_.!~*'();/?:@&=+$,#", "azAZ09-_.!~*'();/?:@&=+$,#"},
        {" \"%<>[\\]^`{|}", "%20%22%25%3C%3E%5B%5C%5D%5E%60%7B%7C%7D"},
        {"\x01\t\n\x7F", "%01%09%0A%7F"},
        {"\u20AC\u00A0\u2206", "%DB%CA%C6"},
        {"", ""},
    };
    for (const Case& c : cases) {
        const auto escaped = MacRoman::percentEscape(c.utf8);
        ASSERT_TRUE(escaped.ok()) << escaped.error().message;
        EXPECT_EQ(escaped.value(), c.escaped);
        const auto unescaped = MacRoman::percentUnescape(c.escaped);
        ASSERT_TRUE(unescaped.ok()) << unescaped.error().message;
        EXPECT_EQ(unescaped.value(), c.utf8);
    }
}

TEST(MacRomanPercent, EscapingRefusesUnwritableCharacters) {
    const auto escaped = MacRoman::percentEscape("/tmp/\u4E2D.emlx");
    ASSERT_FALSE(escaped.ok());
    EXPECT_EQ(escaped.error().message, "U+4E2D cannot be written in Mac OS Roman");
}

// Lower-case hex is read too, and characters left unescaped stand for themselves.
TEST(MacRomanPercent, UnescapeAcceptsLowerCaseHexAndLiteralCharacters) {
    EXPECT_EQ(MacRoman::percentUnescape("%c3%8e%82").value(), "\u221A\u00E9\u00C7");
    EXPECT_EQ(MacRoman::percentUnescape("\u00C7a%20b").value(), "\u00C7a b");
    EXPECT_EQ(MacRoman::percentUnescape("100%25").value(), "100%");
}

TEST(MacRomanPercent, MalformedEscapesAreErrors) {
    for (const char* bad : {"%", "a%4", "%G0", "%0g", "%%41", "x%2"}) {
        EXPECT_FALSE(MacRoman::percentUnescape(bad).ok()) << bad;
    }
    EXPECT_FALSE(MacRoman::percentUnescape("%41\u4E2D").ok());
}

} // namespace
} // namespace platform
