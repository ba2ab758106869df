#include "platform/foundation/Value.h"

#include "platform/foundation/PropertyList.h"

#include <climits>
#include <cstdint>
#include <gtest/gtest.h>

using namespace platform;

namespace {

// Numeric readings of strings follow Foundation: leading blanks, optional sign,
// leading digits; text that is no number reads as 0; overflow saturates.
struct IntCase {
    Value value;
    int expected;
};

TEST(ValueIntValue, ReadsStringsAndNumbersAsFoundationDoes) {
    const IntCase cases[] = {
        {"42", 42},
        {"  \t\n-17", -17},
        {"+8", 8},
        {"12abc", 12},
        {"3.9", 3},
        {"1e3", 1},
        {"abc", 0},
        {"", 0},
        {"- 7", 0},
        {"--7", 0},
        {"99999999999", INT_MAX},
        {"-99999999999", INT_MIN},
        {"2147483647", INT_MAX},
        {"-2147483648", INT_MIN},
        {Value(3.99), 3},
        {Value(-3.99), -3},
        {Value(1e20), INT_MAX},
        {Value(-1e20), INT_MIN},
        {Value(true), 1},
        {Value(false), 0},
        {Value(), 0},
        {Value(Date{5.0}), 0},
        {Value(Array{1}), 0},
        // Integers narrow to their low 32 bits, as a C conversion does.
        {Value(4294967297LL), 1},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.value.intValue(), c.expected) << c.value.description();
}

TEST(ValueIntegerValue, KeepsSixtyFourBitsAndSaturatesStrings) {
    EXPECT_EQ(Value(8623750272LL).integerValue(), 8623750272LL);
    EXPECT_EQ(Value("8623750272").integerValue(), 8623750272LL);
    EXPECT_EQ(Value("-9223372036854775808").integerValue(), INT64_MIN);
    EXPECT_EQ(Value("99999999999999999999").integerValue(), INT64_MAX);
    EXPECT_EQ(Value::unsignedInteger(UINT64_MAX).unsignedValue(), UINT64_MAX);
}

TEST(ValueDoubleValue, ReadsLeadingNumberOfStrings) {
    const std::pair<Value, double> cases[] = {
        {"2.5", 2.5}, {" -0.25xyz", -0.25}, {"1e3", 1000.0}, {"1e", 1.0},        {".5", 0.5},
        {".", 0.0},   {"x1", 0.0},          {Value(7), 7.0}, {Value(true), 1.0},
    };
    for (const auto& [value, expected] : cases)
        EXPECT_DOUBLE_EQ(value.doubleValue(), expected) << value.description();
}

TEST(ValueBoolValue, FollowsFoundationsStringRules) {
    const std::pair<Value, bool> cases[] = {
        {"YES", true},       {"yes", true},    {"Y", true},        {"true", true},      {"T", true},
        {"1", true},         {"9", true},      {"  y", true},      {"0001", true},      {"-5", true},
        {"+0y", true},       {"NO", false},    {"no", false},      {"false", false},    {"0", false},
        {"00", false},       {"0.5", false},   {"", false},        {"abc", false},      {"  ", false},
        {Value(0), false},   {Value(2), true}, {Value(0.5), true}, {Value(0.0), false}, {Value(), false},
        {Value(true), true},
    };
    for (const auto& [value, expected] : cases)
        EXPECT_EQ(value.boolValue(), expected) << value.description();
}

// Absence is the only unset state: storing null removes the key.
TEST(DictionaryNullValue, RemovesTheKey) {
    Dictionary record{{"lumettaProject", "Apollo"}, {"lumettaNote", "x"}};
    record.set("lumettaProject", Value());
    EXPECT_FALSE(record.contains("lumettaProject"));
    EXPECT_EQ(record.count(), 1u);
    record.set("lumettaMissing", Value()); // removing an absent key is harmless
    EXPECT_EQ(record.keys(), std::vector<std::string>{"lumettaNote"});
}

TEST(DictionaryOrder, KeepsInsertionOrderAcrossRemovalAndGrowth) {
    Dictionary d;
    for (int i = 0; i < 40; ++i)
        d.set("key" + std::to_string(i), i);
    d.remove("key3");
    d.set("key0", "replaced");
    EXPECT_EQ(d.count(), 39u);
    EXPECT_EQ(d.keys()[0], "key0");
    EXPECT_EQ(d.keys()[3], "key4");
    EXPECT_EQ(d.get("key39").intValue(), 39);
    EXPECT_EQ(*d.get("key0").string(), "replaced");
    EXPECT_TRUE(d.get("key3").isNull());
}

// Records are shared: every holder of a reference sees every edit, and only
// mutableCopy makes a separate container.
TEST(ContainerReferences, EditsAreVisibleThroughEveryCopyOfTheReference) {
    Dictionary record;
    Value held = record;
    Dictionary alias = *held.dictionary();
    alias.set("lumettaNote", "seen everywhere");
    EXPECT_EQ(record.get("lumettaNote").stringValue(), "seen everywhere");

    Array keywords{"a"};
    record.set("lumettaKeyWords", keywords);
    keywords.add("b");
    EXPECT_EQ(record.get("lumettaKeyWords").array()->count(), 2u);
}

TEST(ContainerReferences, MutableCopyIsSeparateButShallow) {
    Array inner{"x"};
    Dictionary original{{"inner", inner}, {"n", 1}};
    Dictionary copy = original.mutableCopy();
    copy.set("n", 2);
    copy.set("added", true);
    EXPECT_EQ(original.get("n").intValue(), 1);
    EXPECT_FALSE(original.contains("added"));
    copy.get("inner").array()->mutableCopy().add("not shared");
    inner.add("shared");
    EXPECT_EQ(copy.get("inner").array()->count(), 2u); // same inner array

    Value deep = Value(original).deepCopy();
    inner.add("after deep copy");
    EXPECT_EQ(deep.dictionary()->get("inner").array()->count(), 2u);
}

TEST(ArrayEditing, RemovesEveryEqualElementIncludingFromItself) {
    Array a{"Work", 1, "Work", 1.0, true};
    a.remove(a.at(0));
    EXPECT_EQ(a.count(), 3u);
    a.remove(Value(1)); // 1, 1.0 and true are all equal numbers
    EXPECT_TRUE(a.empty());
    a.append(Array{"x"});
    a.append(a);
    EXPECT_EQ(a.count(), 2u);
    EXPECT_TRUE(a.at(99).isNull());
}

// A set holds each value once, however often it is added, compares regardless of
// order, and is never written into a property list.
TEST(SetEditing, HoldsEachValueOnceAndStaysOutOfPropertyLists) {
    Set s{"lumettaProject", "lumettaProject"};
    Set shared = s;
    shared.add("lumettaKeyWords");
    shared.add("lumettaKeyWords");
    EXPECT_EQ(s.count(), 2u);
    EXPECT_EQ(Value(s), Value(Set{"lumettaKeyWords", "lumettaProject"}));
    EXPECT_NE(Value(s), Value(Array{"lumettaProject", "lumettaKeyWords"}));
    Value copy = Value(s).mutableCopy();
    s.remove(Value("lumettaProject"));
    EXPECT_EQ(copy.set()->count(), 2u);
    EXPECT_FALSE(s.contains("lumettaProject"));
    EXPECT_EQ(Value(s).description(), "{(\n    lumettaKeyWords\n)}");
    EXPECT_FALSE(PropertyList::xml(Dictionary{{"__tagsToRemove", s}}).ok());
}

// Equality is Foundation's: numbers by value across kinds, strings exactly,
// collections deeply and dictionaries regardless of key order.
TEST(ValueEquality, ComparesNumbersByValueAndCollectionsDeeply) {
    EXPECT_EQ(Value(1), Value(true));
    EXPECT_EQ(Value(2), Value(2.0));
    EXPECT_NE(Value(1), Value("1"));
    EXPECT_NE(Value("a"), Value("A"));
    EXPECT_NE(Value(), Value(0));
    EXPECT_EQ(Value(), Value());
    EXPECT_NE(Value(-1), Value::unsignedInteger(UINT64_MAX));
    EXPECT_EQ((Value(Dictionary{{"a", 1}, {"b", Array{"x"}}})),
              (Value(Dictionary{{"b", Array{"x"}}, {"a", 1}})));
    EXPECT_NE((Value(Dictionary{{"a", 1}})), (Value(Dictionary{{"a", 1}, {"b", 2}})));
    EXPECT_NE((Value(Array{1, 2})), (Value(Array{2, 1})));
    EXPECT_EQ(Value(Data{{1, 2}}), Value(Data{{1, 2}}));
}

// Descriptions are what log lines show.
TEST(ValueDescription, RendersLikeLogLines) {
    EXPECT_EQ(Value("plain text").description(), "plain text");
    EXPECT_EQ(Value().description(), "(null)");
    EXPECT_EQ(Value(true).description(), "1");
    EXPECT_EQ(Value(0.1).description(), "0.1");
    EXPECT_EQ(Value(Date{0}).description(), "2001-01-01 00:00:00 +0000");
    EXPECT_EQ(Value(Data{{0x01, 0xab, 0x00, 0xff, 0x10}}).description(), "<01ab00ff 10>");
    const Value record = Dictionary{
        {"lumettaProject", "Apollo"},
        {"lumettaKeyWords", Array{"Work", "two words"}},
        {"empty", ""},
        {"nested", Dictionary{{"n", 5}}},
    };
    EXPECT_EQ(record.description(), "{\n"
                                    "    empty = \"\";\n"
                                    "    lumettaKeyWords = (\n"
                                    "        Work,\n"
                                    "        \"two words\"\n"
                                    "    );\n"
                                    "    lumettaProject = Apollo;\n"
                                    "    nested = {\n"
                                    "        n = 5;\n"
                                    "    };\n"
                                    "}");
    EXPECT_EQ(Value(Array{}).description(), "(\n)");
    EXPECT_EQ(Value(Array{"say \"hi\"\n"}).description(), "(\n    \"say \\\"hi\\\"\\n\"\n)");
}

} // namespace
