#pragma once

#include "platform/appleevents/AECodes.h"
#include "platform/appleevents/OSType.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Result.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace platform::appleevents {

// One Apple Event descriptor: a descriptor type and, by shape, either atomic data bytes, a
// list of descriptors, or a record of descriptors by keyword. A value type: copies are
// independent, so a reference kept from a reply stays as it was.
//
// The shape follows the type: 'list' is always a list; 'reco' and the types that are
// records underneath ('obj ', 'cmpd', 'logi', 'insl') are records; every other type is
// atomic. Record entries keep the order they were first set in, which is
// the order they are flattened and printed in.
//
// Reading: the typed accessors answer nullopt when the descriptor is of another type or
// its data have the wrong size, so a handler can test and read in one step:
//     if (auto code = desc.osTypeValue()) ...
class AEDesc {
public:
    enum class Shape : std::uint8_t { Atomic = 0, List = 1, Record = 2 };

    // The 'null' descriptor: no data. It stands for "no container" at the top of an object
    // specifier, and for "no value" when a property is cleared.
    AEDesc() = default;

    // Atomic data of any type, bytes as given (numbers in native byte order). Asking for
    // 'list' or a record-shaped type gives an empty list or record of that type.
    static AEDesc atomic(DescType type, std::string bytes);

    // 'TEXT' holding `bytes` unchanged: UTF-8 text stays UTF-8 (the calendar's find-by-UID
    // query sends the UID this way).
    static AEDesc text(std::string_view bytes);
    // 'TEXT' holding `utf8` encoded in Mac OS Roman, the encoding text travels in; an error
    // when a character has no Mac OS Roman byte.
    static Result<AEDesc> macRomanText(std::string_view utf8);
    // 'utf8' text: for strings that cannot be written in Mac OS Roman.
    static AEDesc utf8Text(std::string_view utf8);
    static AEDesc longInteger(std::int32_t value);
    // 'ldt ': 8 bytes, seconds since 1904 in local wall-clock time (see LongDateTime.h).
    static AEDesc longDateTime(std::int64_t value);
    // 'ldt ' for an instant; an error when it cannot be converted (the value is far out of
    // range), which callers treat as "leave the date out".
    static Result<AEDesc> longDateTime(platform::Date date);
    static AEDesc typeCode(OSType code);
    static AEDesc enumerated(OSType code);
    // 'bund': the application's bundle identifier as UTF-8, no terminator.
    static AEDesc bundleIdentifier(std::string_view identifier);
    static AEDesc null() { return AEDesc(); }
    static AEDesc list(std::vector<AEDesc> items = {});
    // An empty record; `type` is 'reco' or another record-shaped type.
    static AEDesc record(DescType type = typeAERecord);
    // A record with these entries in this order; a keyword given twice keeps its first
    // position and its last value.
    static AEDesc record(DescType type, std::vector<std::pair<AEKeyword, AEDesc>> entries);
    // 'exmn', no data: "the object under test" inside a test specifier.
    static AEDesc objectBeingExamined();
    // 'abso' holding an ordinal, 'all ' for every element (4 bytes, native byte order).
    static AEDesc absoluteOrdinal(OSType ordinal = kAEAll);

    // An object specifier: the record {'want': type want, 'form': enum form, 'seld': seld,
    // 'from': from} in that order, coerced to 'obj '. `from` is null() for the
    // application itself.
    static AEDesc objectSpecifier(OSType form, DescType want, AEDesc seld, AEDesc from);
    // The property `property` of `from`: form 'prop', want 'prop', seld type `property`.
    static AEDesc propertySpecifier(OSType property, AEDesc from);

    DescType descriptorType() const { return type_; }
    Shape shape() const { return shape_; }
    bool isList() const { return shape_ == Shape::List; }
    bool isRecord() const { return shape_ == Shape::Record; }
    bool isNull() const { return type_ == typeNull; }

    // Atomic data; empty for lists and records.
    const std::string& data() const { return data_; }

    // Lists: items; records: entries; atomic: 0.
    std::size_t count() const { return items_.size(); }
    // The item at a 1-based index of a list, or the value of the entry at that position in
    // a record; nullptr outside 1...count().
    const AEDesc* item(std::size_t index) const;
    // The keyword of a record's entry at a 1-based position; 0 outside the record.
    AEKeyword keywordAt(std::size_t index) const;
    // Adds an item at the end of a list. Does nothing to other shapes.
    void append(AEDesc item);

    // Record entries. Setting a keyword that is present replaces its value in place;
    // a new one goes to the end. Does nothing to other shapes.
    void setParam(AEKeyword keyword, AEDesc value);
    const AEDesc* param(AEKeyword keyword) const;
    bool hasParam(AEKeyword keyword) const { return param(keyword) != nullptr; }
    bool removeParam(AEKeyword keyword);

    // The same descriptor as `type`: always to its own type; a record to another
    // record-shaped type keeping its entries; 'type' and 'enum' into each other. Anything else is
    // errAECoercionFail.
    Result<AEDesc> coerced(DescType type) const;

    // Typed reading. 'long' as an integer.
    std::optional<std::int32_t> int32Value() const;
    // 'ldt ' as its raw LongDateTime, or converted to an instant.
    std::optional<std::int64_t> longDateTimeValue() const;
    std::optional<platform::Date> dateValue() const;
    // The code held by 'type', 'enum' or 'abso'.
    std::optional<OSType> osTypeValue() const;
    std::optional<std::string> bundleIdentifierValue() const;
    // The raw bytes of 'TEXT' or 'utf8'.
    std::optional<std::string> textBytes() const;
    // Text as UTF-8: 'TEXT' read as Mac OS Roman, 'utf8' as it is, 'long' as its decimal
    // digits (so a count can be read as a string, as the calendar's client does).
    std::optional<std::string> stringValue() const;

    // Same type, shape and contents (record order included).
    friend bool operator==(const AEDesc& a, const AEDesc& b);

private:
    static AEDesc composite(DescType type, Shape shape);

    DescType type_ = typeNull;
    Shape shape_ = Shape::Atomic;
    std::string data_;
    // List items, or record values parallel to keywords_.
    std::vector<AEDesc> items_;
    std::vector<AEKeyword> keywords_;
};

// True for 'reco' and the types that are records underneath ('obj ', 'cmpd', 'logi', 'insl').
bool isRecordType(DescType type);

} // namespace platform::appleevents
