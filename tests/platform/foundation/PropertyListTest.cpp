#include "platform/foundation/PropertyList.h"

#include "support/GoldenFile.h"
#include "support/MessageFileSupport.h"

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <plist/plist.h>

using namespace platform;
namespace fs = std::filesystem;

namespace {

const fs::path kData = LUMETTA_TEST_DATA_DIR;

void expectGolden(const std::string& name, const std::string& actual) {
    const std::string diff = testsupport::compareWithGolden(kData / name, actual);
    EXPECT_TRUE(diff.empty()) << diff;
}

// The property list that ends a message file, with tags.
Value taggedTail() {
    return Dictionary{
        {"remote-id", "50751"},
        {"flags", 8623750272LL},
        {"date-received", 1516985072},
        {"date-last-viewed", 0},
        {"lumettaProject", "Apollo & <Partners>"},
        {"lumettaKeyWords", Array{"Invoice", "Accounts"}},
        {"lumettaDueDate", Date{817000000.75}},
        {"lumettaUseDueDate", "YES"},
        {"lumettaNote", "Müller's \"draft\"\tplan"},
        {"lumettaPriority", "3"},
        {"lumettaEmpty", Array{}},
    };
}

Value everyType() {
    std::vector<std::uint8_t> bytes(100);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(i * 7);
    return Dictionary{
        {"bool-true", true},
        {"bool-false", false},
        {"int-min", Value(static_cast<long long>(INT64_MIN))},
        {"int-max", Value(static_cast<long long>(INT64_MAX))},
        {"int-negative", -17},
        {"real-zero", 0.0},
        {"real-negative-zero", -0.0},
        {"real-third", 1.0 / 3.0},
        {"real-integral", 1565148386.0},
        {"real-tiny", 1e-300},
        {"date-reference", Date{0}},
        {"date-before-1970", Date::fromUnix(-86401)},
        {"data-empty", Data{}},
        {"data-long", Data{bytes}},
        {"nested", Array{Array{}, Dictionary{}, Dictionary{{"deeper", Array{Data{{0xff}}, "x"}}}}},
        {"string-unicode", "日本語 ☃ 😀"},
        {"\xef\xbc\xa1-fullwidth-key", 1},
        {"\xf0\x9f\x98\x80-emoji-key", 2},
    };
}

// Writing: the exact bytes the mail client writes.
TEST(PropertyListXml, WritesTaggedTailExactlyAsTheMailClient) {
    auto xml = PropertyList::xml(taggedTail());
    ASSERT_TRUE(xml.ok()) << xml.error().message;
    expectGolden("tagged-tail.plist", xml.value());
}

TEST(PropertyListXml, WritesEveryValueTypeExactly) {
    auto xml = PropertyList::xml(everyType());
    ASSERT_TRUE(xml.ok()) << xml.error().message;
    expectGolden("every-type.plist", xml.value());
}

TEST(PropertyListXml, RefusesValuesAListCannotHold) {
    EXPECT_FALSE(PropertyList::xml(Value()).ok());
    EXPECT_FALSE(PropertyList::xml(Array{1, Value()}).ok());
    Value deep = Array{};
    for (std::size_t i = 0; i < PropertyList::kMaxDepth + 5; ++i)
        deep = Array{deep};
    EXPECT_FALSE(PropertyList::xml(deep).ok());
}

// Reading what the mail client wrote and writing it back changes no byte.
TEST(PropertyListXml, RewritesRealMessageTailsByteForByte) {
    const char* files[] = {"01-mail10.3-full-multipart-alt-114862.emlx",
                           "09-mail9.1-b64-utf8-subject-real-dates-crb912-1.emlx",
                           "03-unpadded-count-php-mailer-11507.emlx"};
    for (const char* name : files) {
        const std::string bytes = testsupport::readRealMessage(name);
        const auto start = bytes.find("<?xml");
        ASSERT_NE(start, std::string::npos) << name;
        const std::string tail = bytes.substr(start);
        auto parsed = PropertyList::parse(tail);
        ASSERT_TRUE(parsed.ok()) << name << ": " << parsed.error().message;
        auto rewritten = PropertyList::xml(parsed.value());
        ASSERT_TRUE(rewritten.ok());
        EXPECT_EQ(rewritten.value(), tail) << name;
    }
}

// Round trips: every value type survives writing and reading, in XML and binary.
TEST(PropertyListRoundTrip, EveryValueTypeSurvivesXml) {
    const Value original = everyType();
    auto parsed = PropertyList::parse(PropertyList::xml(original).value());
    ASSERT_TRUE(parsed.ok()) << parsed.error().message;
    EXPECT_EQ(parsed.value(), original) << parsed.value().description();
}

TEST(PropertyListRoundTrip, DatesKeepWholeSecondsRoundedDown) {
    const Value dates = Array{Date::fromUnix(-86400.5), Date{817000000.75}};
    auto parsed = PropertyList::parse(PropertyList::xml(dates).value());
    ASSERT_TRUE(parsed.ok());
    EXPECT_EQ(parsed.value().array()->at(0).date()->unixSeconds(), -86401.0);
    EXPECT_EQ(parsed.value().array()->at(1).date()->seconds, 817000000.0);
}

TEST(PropertyListRoundTrip, ReadsBinaryLists) {
    plist_t root = plist_new_dict();
    plist_dict_set_item(root, "flags", plist_new_uint(static_cast<std::uint64_t>(-5)));
    plist_dict_set_item(root, "name", plist_new_string("Müller"));
    plist_dict_set_item(root, "when", plist_new_date(86400, 0));
    plist_t list = plist_new_array();
    plist_array_append_item(list, plist_new_bool(1));
    plist_array_append_item(list, plist_new_real(2.5));
    plist_array_append_item(list, plist_new_data("\x01\x02", 2));
    plist_dict_set_item(root, "list", list);
    char* bin = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &bin, &length);
    plist_free(root);
    auto parsed = PropertyList::parse(std::string_view(bin, length));
    plist_to_bin_free(bin);
    ASSERT_TRUE(parsed.ok()) << parsed.error().message;
    const Value expected = Dictionary{
        {"flags", -5},
        {"name", "Müller"},
        {"when", Date{86400}},
        {"list", Array{true, 2.5, Data{{1, 2}}}},
    };
    EXPECT_EQ(parsed.value(), expected) << parsed.value().description();
}

TEST(PropertyListRoundTrip, KeepsFlagWordsWithTheTopBitSet) {
    const Value big = Dictionary{{"flags", Value::unsignedInteger(0x8000000000000001ULL)}};
    const std::string xml = PropertyList::xml(big).value();
    EXPECT_NE(xml.find("<integer>9223372036854775809</integer>"), std::string::npos);
    auto parsed = PropertyList::parse(xml);
    ASSERT_TRUE(parsed.ok());
    EXPECT_EQ(parsed.value().dictionary()->get("flags").unsignedValue(), 0x8000000000000001ULL);
    EXPECT_EQ(PropertyList::xml(parsed.value()).value(), xml);
}

// XML written by other tools: entities, CDATA, comments, hex integers, empty forms.
TEST(PropertyListParse, ReadsXmlFromOtherWriters) {
    const std::string xml =
        "\xEF\xBB\xBF<?xml version=\"1.0\"?>\n<!-- written by hand -->\n<plist version=\"1.0\">"
        "<dict >\n"
        "  <key>text</key><string>a &amp; b &lt;c&gt; &quot;d&quot; &#233;&#x1F600;"
        "<![CDATA[<raw & kept>]]></string>\n"
        "  <key>empty</key><string/>\n"
        "  <key>hex</key><integer> 0x1F </integer>\n"
        "  <key>neg</key><integer>-9223372036854775808</integer>\n"
        "  <key>inf</key><real>-infinity</real>\n"
        "  <key>yes</key><true></true>\n"
        "  <key>when</key><date>2001-01-01T00:01:00.5Z</date>\n"
        "  <key>bytes</key><data>\n  AQI=\n  </data>\n"
        "  <key></key><array><dict/></array>\n"
        "</dict></plist>\n<!-- trailing comment -->\n";
    auto parsed = PropertyList::parse(xml);
    ASSERT_TRUE(parsed.ok()) << parsed.error().message;
    const Dictionary& d = *parsed.value().dictionary();
    EXPECT_EQ(d.get("text").stringValue(), "a & b <c> \"d\" \u00e9\U0001F600<raw & kept>");
    EXPECT_EQ(d.get("empty").stringValue(), "");
    EXPECT_EQ(d.get("hex").integerValue(), 31);
    EXPECT_EQ(d.get("neg").integerValue(), INT64_MIN);
    EXPECT_EQ(d.get("inf").doubleValue(), -HUGE_VAL);
    EXPECT_TRUE(d.get("yes").boolValue());
    EXPECT_EQ(d.get("when").date()->seconds, 60.5);
    EXPECT_EQ(d.get("bytes"), Value(Data{{1, 2}}));
    EXPECT_EQ(d.get(""), Value(Array{Dictionary{}}));
    EXPECT_EQ(d.keys().front(), "text");
}

// Malformed or hostile input is an error value, never a crash.
TEST(PropertyListParse, RefusesMalformedInput) {
    const std::string cases[] = {
        "",
        "not a plist",
        "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>a</key>",
        "<plist><dict><key>a</key><string>unterminated",
        "<plist><!-- never closed",
        "<plist><integer>12</string></plist>",
        "<plist><integer>12x</integer></plist>",
        "<plist><integer>-9223372036854775809</integer></plist>",
        "<plist><date>2001-13-01T00:00:00Z</date></plist>",
        "<plist><data>AQ*I=</data></plist>",
        "<plist><string>&bogus;</string></plist>",
        "<plist><string>&#0;</string></plist>",
        "<plist><dict><string>value without key</string></dict></plist>",
        "<plist><dict><key>a</key></dict></plist>",
        "<plist><array></dict></plist>",
        "<plist><string>a</string><string>b</string></plist>",
        "<plist><string>a</string></plist>trailing",
        "<plist><unknown/></plist>",
        "<plist/>",
        "bplist00",
        std::string("bplist00\xd1\x01\x02", 11) + std::string(32, '\0'),
    };
    for (const auto& input : cases) {
        auto parsed = PropertyList::parse(input);
        EXPECT_FALSE(parsed.ok() && !parsed.value().isNull()) << "accepted: " << input;
        if (!parsed.ok()) {
            EXPECT_FALSE(parsed.error().message.empty());
        }
    }
}

TEST(PropertyListParse, RefusesDeepNestingWithoutOverflowingTheStack) {
    constexpr int kLevels = 100000;
    std::string xml = "<plist version=\"1.0\">";
    for (int i = 0; i < kLevels; ++i)
        xml += "<array>";
    for (int i = 0; i < kLevels; ++i)
        xml += "</array>";
    xml += "</plist>";
    auto parsed = PropertyList::parse(xml);
    ASSERT_FALSE(parsed.ok());
    EXPECT_NE(parsed.error().message.find("deeper"), std::string::npos) << parsed.error().message;

    // Binary: each array holds the next; object 0 is the outermost.
    std::string bin = "bplist00";
    std::vector<std::uint64_t> offsets;
    for (int i = 0; i < kLevels; ++i) {
        offsets.push_back(bin.size());
        if (i + 1 < kLevels) {
            bin += '\xa1';
            const std::uint32_t ref = static_cast<std::uint32_t>(i + 1);
            for (int s = 3; s >= 0; --s)
                bin += static_cast<char>((ref >> (8 * s)) & 0xff);
        } else {
            bin += '\xa0';
        }
    }
    const std::uint64_t table = bin.size();
    for (auto off : offsets)
        for (int s = 3; s >= 0; --s)
            bin += static_cast<char>((off >> (8 * s)) & 0xff);
    std::string trailer(32, '\0');
    trailer[6] = 4;
    trailer[7] = 4;
    auto putBig = [&](std::size_t at, std::uint64_t v) {
        for (int s = 7; s >= 0; --s)
            trailer[at + static_cast<std::size_t>(7 - s)] = static_cast<char>((v >> (8 * s)) & 0xff);
    };
    putBig(8, static_cast<std::uint64_t>(kLevels));
    putBig(16, 0);
    putBig(24, table);
    bin += trailer;
    auto parsedBin = PropertyList::parse(bin);
    ASSERT_FALSE(parsedBin.ok());
    EXPECT_NE(parsedBin.error().message.find("deeper"), std::string::npos) << parsedBin.error().message;
}

TEST(PropertyListParse, RefusesHugeInputAndSelfReferences) {
    std::string huge = "<plist><string>";
    huge.append(PropertyList::kMaxInputBytes, 'x');
    huge += "</string></plist>";
    EXPECT_FALSE(PropertyList::parse(huge).ok());

    // A binary array that holds itself would expand forever.
    std::string bin = "bplist00";
    bin += "\xa1";
    bin += '\0';
    bin += '\x08'; // offset table: object 0 at byte 8
    std::string trailer(32, '\0');
    trailer[6] = 1;
    trailer[7] = 1;
    trailer[15] = 1;  // one object
    trailer[31] = 10; // table at byte 10
    EXPECT_FALSE(PropertyList::parse(bin + trailer).ok());
}

TEST(PropertyListParse, AcceptsNestingAtTheLimit) {
    std::string xml = "<plist version=\"1.0\">";
    const std::size_t levels = PropertyList::kMaxDepth;
    for (std::size_t i = 0; i < levels; ++i)
        xml += "<array>";
    xml += "<!-- <array> in a comment does not count -->";
    for (std::size_t i = 0; i < levels; ++i)
        xml += "</array>";
    xml += "</plist>";
    auto parsed = PropertyList::parse(xml);
    ASSERT_TRUE(parsed.ok()) << parsed.error().message;
    EXPECT_TRUE(parsed.value().isArray());
}

} // namespace
