#include "platform/appleevents/AEDesc.h"

#include "platform/appleevents/AEDescription.h"
#include "platform/appleevents/AppleEvent.h"

#include <cstring>
#include <gtest/gtest.h>

namespace platform::appleevents {
namespace {

template <class T> std::string native(T value) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

// Codes are big-endian numbers whatever the machine; the printer keeps log lines readable.
TEST(OSType, CodesAreBigEndianAndPrintQuoted) {
    static_assert(fourCharCode("TEXT") == 0x54455854);
    EXPECT_EQ(fourCharCodeFrom("ldt "), typeLongDateTime);
    EXPECT_EQ(fourCharCodeFrom("toolong"), 0u);
    const std::pair<OSType, const char*> printed[] = {
        {typeChar, "'TEXT'"}, {kAEEquals, "'=   '"}, {1, "0x00000001"}, {fourCharCode("it's"), "0x69742773"}};
    for (const auto& [code, text] : printed)
        EXPECT_EQ(osTypeString(code), text);
}

// Each builder gives its type and the bytes other applications expect: numbers and codes
// in native byte order, text as given or encoded, no data where there is none.
TEST(AEDesc, BuildersGiveTypeAndData) {
    struct Case {
        const char* name;
        AEDesc desc;
        DescType type;
        std::string data;
    };
    const Case cases[] = {
        {"raw text", AEDesc::text("caf\xC3\xA9"), typeChar, "caf\xC3\xA9"},
        {"Mac OS Roman", AEDesc::macRomanText("caf\u00E9 \u2206").value(), typeChar, "caf\x8E \xC6"},
        {"utf8", AEDesc::utf8Text("\u2192"), typeUTF8Text, "\xE2\x86\x92"},
        {"long", AEDesc::longInteger(-7), typeSInt32, native(std::int32_t{-7})},
        {"ldt", AEDesc::longDateTime(std::int64_t{3061155600}), typeLongDateTime,
         native(std::int64_t{3061155600})},
        {"type", AEDesc::typeCode(fourCharCode("wret")), typeType, native(fourCharCode("wret"))},
        {"enum", AEDesc::enumerated(fourCharCode("tdp1")), typeEnumerated, native(fourCharCode("tdp1"))},
        {"bund", AEDesc::bundleIdentifier("com.apple.iCal"), typeApplicationBundleID, "com.apple.iCal"},
        {"null", AEDesc::null(), typeNull, ""},
        {"exmn", AEDesc::objectBeingExamined(), typeObjectBeingExamined, ""},
        {"abso all", AEDesc::absoluteOrdinal(), typeAbsoluteOrdinal, native(kAEAll)},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.desc.descriptorType(), c.type) << c.name;
        EXPECT_EQ(c.desc.shape(), AEDesc::Shape::Atomic) << c.name;
        EXPECT_EQ(c.desc.data(), c.data) << c.name;
    }
    EXPECT_FALSE(AEDesc::macRomanText("\u4E2D").ok());
}

// Readers answer only for their own types and sizes.
TEST(AEDesc, ReadersCheckTypeAndSize) {
    EXPECT_EQ(AEDesc::longInteger(-7).int32Value(), -7);
    EXPECT_EQ(AEDesc::atomic(typeSInt32, "abc").int32Value(), std::nullopt);
    EXPECT_EQ(AEDesc::text("7").int32Value(), std::nullopt);
    EXPECT_EQ(AEDesc::enumerated(kAEEnd).osTypeValue(), kAEEnd);
    EXPECT_EQ(AEDesc::absoluteOrdinal().osTypeValue(), kAEAll);
    EXPECT_EQ(AEDesc::longInteger(5).osTypeValue(), std::nullopt);
    EXPECT_EQ(AEDesc::longDateTime(std::int64_t{-1}).longDateTimeValue(), -1);
    EXPECT_EQ(AEDesc::bundleIdentifier("a.b").bundleIdentifierValue(), "a.b");
    EXPECT_EQ(AEDesc::text("a.b").bundleIdentifierValue(), std::nullopt);

    const std::pair<AEDesc, std::optional<std::string>> strings[] = {
        {AEDesc::text("caf\x8E"), "caf\u00E9"},
        {AEDesc::utf8Text("caf\u00E9"), "caf\u00E9"},
        {AEDesc::longInteger(0), "0"},
        {AEDesc::longInteger(-12), "-12"},
        {AEDesc::typeCode(typeChar), std::nullopt},
        {AEDesc::null(), std::nullopt},
    };
    for (const auto& [desc, expected] : strings)
        EXPECT_EQ(desc.stringValue(), expected) << describe(desc);
}

// Lists count from 1; records keep first-set order, replace in place, and survive
// coercion to every record-shaped type with their entries.
TEST(AEDesc, ListsAndRecords) {
    AEDesc list = AEDesc::list({AEDesc::longInteger(1)});
    list.append(AEDesc::text("two"));
    ASSERT_EQ(list.count(), 2u);
    EXPECT_EQ(list.item(1)->int32Value(), 1);
    EXPECT_EQ(list.item(2)->textBytes(), "two");
    EXPECT_EQ(list.item(0), nullptr);
    EXPECT_EQ(list.item(3), nullptr);

    AEDesc record = AEDesc::record();
    record.setParam(keyAECompOperator, AEDesc::enumerated(kAEEquals));
    record.setParam(keyAEObject1, AEDesc::null());
    record.setParam(keyAEObject2, AEDesc::text("x"));
    record.setParam(keyAEObject1, AEDesc::objectBeingExamined());
    EXPECT_EQ(record.keywordAt(2), keyAEObject1);
    EXPECT_EQ(record.item(2)->descriptorType(), typeObjectBeingExamined);
    for (const DescType type :
         {typeObjectSpecifier, typeCompDescriptor, typeLogicalDescriptor, typeInsertionLoc}) {
        const auto coerced = record.coerced(type);
        ASSERT_TRUE(coerced.ok()) << osTypeString(type);
        EXPECT_EQ(coerced.value().descriptorType(), type);
        EXPECT_EQ(coerced.value().keywordAt(3), keyAEObject2);
        EXPECT_EQ(coerced.value().param(keyAEObject2)->textBytes(), "x");
    }
    EXPECT_TRUE(record.removeParam(keyAECompOperator));
    EXPECT_FALSE(record.removeParam(keyAECompOperator));
    EXPECT_EQ(record.keywordAt(1), keyAEObject1);

    EXPECT_EQ(list.coerced(typeObjectSpecifier).error().code, errAECoercionFail);
    EXPECT_EQ(AEDesc::text("x").coerced(typeAERecord).error().code, errAECoercionFail);
    EXPECT_EQ(AEDesc::typeCode(kAEEnd).coerced(typeEnumerated).value(), AEDesc::enumerated(kAEEnd));
}

// The find-by-UID query: every to-do of every calendar whose uid equals a text.
TEST(AEDesc, ObjectSpecifiersNestInWantFormSeldFromOrder) {
    const AEDesc uid = AEDesc::propertySpecifier(fourCharCode("wr10"), AEDesc::objectBeingExamined());
    AEDesc comparison = AEDesc::record();
    comparison.setParam(keyAECompOperator, AEDesc::enumerated(kAEEquals));
    comparison.setParam(keyAEObject1, uid);
    comparison.setParam(keyAEObject2, AEDesc::text("A-1"));
    const AEDesc everyCalendar = AEDesc::objectSpecifier(formAbsolutePosition, fourCharCode("wres"),
                                                         AEDesc::absoluteOrdinal(), AEDesc::null());
    const AEDesc query = AEDesc::objectSpecifier(
        formTest, fourCharCode("wret"), comparison.coerced(typeCompDescriptor).value(), everyCalendar);
    EXPECT_EQ(
        describe(query),
        "'obj '{'want': type('wret'), 'form': enum('test'), 'seld': 'cmpd'{'relo': enum('=   '), "
        "'obj1': 'obj '{'want': type('prop'), 'form': enum('prop'), 'seld': type('wr10'), 'from': exmn}, "
        "'obj2': 'TEXT'\"A-1\"}, 'from': 'obj '{'want': type('wres'), 'form': enum('indx'), "
        "'seld': abso('all '), 'from': null}}");
}

// Replies pair with their request and carry errors as number and text.
TEST(AppleEvent, RepliesCarryIdsAndErrors) {
    AppleEvent request(fourCharCode("core"), fourCharCode("getd"), AEDesc::bundleIdentifier("com.apple.iCal"),
                       42, 7);
    EXPECT_EQ(request.targetBundleIdentifier(), "com.apple.iCal");
    AppleEvent reply = AppleEvent::replyTo(request);
    EXPECT_TRUE(reply.isReply());
    EXPECT_EQ(reply.returnID(), 42);
    EXPECT_EQ(reply.transactionID(), 7);
    EXPECT_EQ(reply.errorNumber(), std::nullopt);

    reply.setError(errAENoSuchObject, "Kalender \u201EArbeit\u201C fehlt");
    EXPECT_EQ(reply.errorNumber(), errAENoSuchObject);
    EXPECT_EQ(reply.param(keyErrorString)->descriptorType(), typeChar);
    EXPECT_EQ(reply.errorString(), "Kalender \u201EArbeit\u201C fehlt");
    reply.setError(errAEEventFailed, "\u4E2D");
    EXPECT_EQ(reply.param(keyErrorString)->descriptorType(), typeUTF8Text);
    EXPECT_EQ(reply.errorString(), "\u4E2D");
}

} // namespace
} // namespace platform::appleevents
