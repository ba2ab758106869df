#include "platform/appleevents/AEFlattener.h"

#include "platform/appleevents/AEDescription.h"

#include <gtest/gtest.h>

namespace platform::appleevents {
namespace {

std::string u32(std::uint32_t v) {
    return {static_cast<char>(v >> 24), static_cast<char>(v >> 16), static_cast<char>(v >> 8),
            static_cast<char>(v)};
}

// A descriptor header: type, shape, and a length or count.
std::string header(DescType type, std::uint8_t shape, std::uint32_t size) {
    return u32(type) + static_cast<char>(shape) + u32(size);
}

AEDesc everyKind() {
    AEDesc record = AEDesc::record();
    record.setParam(keyAEObject, AEDesc::objectSpecifier(formName, fourCharCode("wres"), AEDesc::text("Work"),
                                                         AEDesc::null()));
    record.setParam(keyAEPosition, AEDesc::enumerated(kAEEnd));
    AEDesc logic = AEDesc::record(typeLogicalDescriptor);
    logic.setParam(keyAELogicalOperator, AEDesc::enumerated(kAEAND));
    logic.setParam(keyAELogicalTerms, AEDesc::list({AEDesc::record(typeCompDescriptor), AEDesc::list()}));
    return AEDesc::list({record.coerced(typeInsertionLoc).value(), logic, AEDesc::longInteger(-1),
                         AEDesc::longDateTime(std::int64_t{3802687200}),
                         AEDesc::typeCode(fourCharCode("wret")), AEDesc::bundleIdentifier("com.apple.iCal"),
                         AEDesc::objectBeingExamined(), AEDesc::absoluteOrdinal(), AEDesc::utf8Text("\u2192"),
                         AEDesc::text(std::string(3, '\0')), AEDesc::atomic(fourCharCode("wr4s"), "opaque")});
}

// What goes in comes out, nesting, record order, zero bytes and unknown types included.
TEST(AEFlattener, DescriptorsAndEventsRoundTrip) {
    const AEDesc desc = everyKind();
    const auto back = AEFlattener::unflattenDesc(AEFlattener::flatten(desc));
    ASSERT_TRUE(back.ok()) << back.error().message;
    EXPECT_EQ(back.value(), desc) << describe(back.value());

    AppleEvent event(fourCharCode("core"), fourCharCode("crel"), AEDesc::bundleIdentifier("com.apple.iCal"),
                     -3, 123456);
    event.setParam(keyAEObjectClass, AEDesc::typeCode(fourCharCode("wret")));
    event.setParam(keyAEPropData, desc);
    const auto eventBack = AEFlattener::unflattenEvent(AEFlattener::flatten(event));
    ASSERT_TRUE(eventBack.ok()) << eventBack.error().message;
    EXPECT_EQ(eventBack.value(), event);
    EXPECT_EQ(eventBack.value().returnID(), -3);
}

// The layout is fixed: other programs on this machine may speak it.
TEST(AEFlattener, LayoutIsBigEndianHeadersAroundRawData) {
    AEDesc record = AEDesc::record();
    record.setParam(keyDirectObject, AEDesc::text("hi"));
    EXPECT_EQ(AEFlattener::flatten(record),
              header(typeAERecord, 2, 1) + u32(keyDirectObject) + header(typeChar, 0, 2) + "hi");
}

// Hostile or broken input is an error at a named offset, never a crash or a huge allocation.
TEST(AEFlattener, MalformedDescriptorsAreErrors) {
    std::string deep;
    for (int i = 0; i < 70; ++i)
        deep += header(typeAEList, 1, 1);
    deep += header(typeNull, 0, 0);
    const std::string okText = header(typeChar, 0, 2) + "ab";
    const std::pair<const char*, std::string> cases[] = {
        {"empty", ""},
        {"header cut short", okText.substr(0, 6)},
        {"data cut short", okText.substr(0, 10)},
        {"length past the end", header(typeChar, 0, 0xFFFFFFF0) + "ab"},
        {"list count past the end", header(typeAEList, 1, 0xFFFFFFFF) + okText},
        {"record count past the end", header(typeAERecord, 2, 100000) + u32(keyDirectObject) + okText},
        {"unknown shape", header(typeChar, 3, 0)},
        {"atomic list", header(typeAEList, 0, 0)},
        {"atomic record type", header(typeObjectSpecifier, 0, 0)},
        {"list of another type", header(typeChar, 1, 0)},
        {"record of a plain type", header(typeSInt32, 2, 0)},
        {"short long", header(typeSInt32, 0, 3) + "abc"},
        {"long date of 4 bytes", header(typeLongDateTime, 0, 4) + "abcd"},
        {"null with data", header(typeNull, 0, 1) + "x"},
        {"repeated keyword",
         header(typeAERecord, 2, 2) + u32(keyDirectObject) + okText + u32(keyDirectObject) + okText},
        {"trailing byte", okText + "!"},
        {"nested too deeply", deep},
    };
    for (const auto& [name, bytes] : cases) {
        const auto result = AEFlattener::unflattenDesc(bytes);
        ASSERT_FALSE(result.ok()) << name;
        EXPECT_EQ(result.error().code, errAECorruptData) << name;
        EXPECT_NE(result.error().message.find(" at byte "), std::string::npos)
            << name << ": " << result.error().message;
    }
}

TEST(AEFlattener, MalformedEventsAreErrors) {
    const AppleEvent event(fourCharCode("core"), fourCharCode("getd"), AEDesc::bundleIdentifier("x"));
    const std::string good = AEFlattener::flatten(event);
    std::string otherVersion = good;
    otherVersion[4] = 2;
    const std::string fixed = good.substr(0, 19); // magic, version, class, id, return and transaction IDs
    const std::pair<const char*, std::string> cases[] = {
        {"not an event", "GET / HTTP/1.1\r\n\r\n"},
        {"a bare descriptor", AEFlattener::flatten(AEDesc::record())},
        {"unknown version", otherVersion},
        {"cut short", good.substr(0, good.size() - 1)},
        {"trailing bytes", good + "x"},
        {"parameters not a record",
         fixed + AEFlattener::flatten(AEDesc()) + AEFlattener::flatten(AEDesc::list())},
        {"a record as target",
         fixed + AEFlattener::flatten(AEDesc::record()) + AEFlattener::flatten(AEDesc::record())},
    };
    ASSERT_TRUE(AEFlattener::unflattenEvent(fixed + AEFlattener::flatten(AEDesc()) +
                                            AEFlattener::flatten(AEDesc::record()))
                    .ok());
    for (const auto& [name, bytes] : cases) {
        const auto result = AEFlattener::unflattenEvent(bytes);
        ASSERT_FALSE(result.ok()) << name;
        EXPECT_EQ(result.error().code, errAECorruptData) << name;
    }
}

} // namespace
} // namespace platform::appleevents
