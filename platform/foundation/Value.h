#pragma once

#include "platform/foundation/Array.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Set.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace platform {

// Raw bytes (a property list's <data>). A value type: copies are independent.
struct Data {
    std::vector<std::uint8_t> bytes;
    friend bool operator==(const Data&, const Data&) = default;
};

// One property-list-like value. Scalars are values; arrays and dictionaries are
// references (see Array, Dictionary). A default Value is null, which stands for "no
// object": reading it as a number gives 0, as a string gives "".
class Value {
public:
    enum class Type { Null, Boolean, Integer, Real, String, Date, Data, Array, Dictionary, Set };

    Value() = default;
    Value(std::nullptr_t) {}
    Value(bool b) : v_(b) {}
    Value(int i) : v_(std::int64_t{i}) {}
    Value(long i) : v_(std::int64_t{i}) {}
    Value(long long i) : v_(std::int64_t{i}) {}
    Value(unsigned i) : v_(std::int64_t{i}) {}
    Value(unsigned long u) { *this = unsignedInteger(u); }
    Value(unsigned long long u) { *this = unsignedInteger(u); }
    Value(double d) : v_(d) {}
    Value(const char* s) : v_(std::string(s)) {}
    Value(std::string s) : v_(std::move(s)) {}
    Value(std::string_view s) : v_(std::string(s)) {}
    Value(platform::Date d) : v_(d) {}
    Value(platform::Data d) : v_(std::move(d)) {}
    Value(platform::Array a) : v_(std::move(a)) {}
    Value(platform::Dictionary d) : v_(std::move(d)) {}
    Value(platform::Set s) : v_(std::move(s)) {}
    // A 64-bit unsigned integer; values above INT64_MAX keep their unsigned reading
    // (flag words with the top bit set round-trip).
    static Value unsignedInteger(std::uint64_t u);

    Type type() const;
    bool isNull() const { return v_.index() == 0; }
    bool isBoolean() const { return type() == Type::Boolean; }
    bool isInteger() const { return type() == Type::Integer; }
    bool isReal() const { return type() == Type::Real; }
    // Booleans, integers and reals are all numbers, as they are to Foundation.
    bool isNumber() const;
    bool isString() const { return type() == Type::String; }
    bool isDate() const { return type() == Type::Date; }
    bool isData() const { return type() == Type::Data; }
    bool isArray() const { return type() == Type::Array; }
    bool isDictionary() const { return type() == Type::Dictionary; }
    bool isSet() const { return type() == Type::Set; }
    bool isUnsignedBig() const { return std::holds_alternative<std::uint64_t>(v_); }

    // Typed access: nullptr when the value is of another type.
    const std::string* string() const { return std::get_if<std::string>(&v_); }
    const platform::Date* date() const { return std::get_if<platform::Date>(&v_); }
    const platform::Data* data() const { return std::get_if<platform::Data>(&v_); }
    const platform::Array* array() const { return std::get_if<platform::Array>(&v_); }
    const platform::Dictionary* dictionary() const { return std::get_if<platform::Dictionary>(&v_); }
    const platform::Set* set() const { return std::get_if<platform::Set>(&v_); }

    // Foundation's numeric readings. Integers narrow as C narrows them (intValue keeps
    // the low 32 bits); reals truncate toward zero and saturate at the type's limits
    // (NaN gives 0). Strings skip leading white space, read an optional sign and the
    // leading digits, give 0 for text that is not a number and saturate on overflow.
    // Other types give 0.
    int intValue() const;
    std::int64_t integerValue() const;
    std::uint64_t unsignedValue() const;
    double doubleValue() const;
    // Numbers: non-zero. Strings: after white space and an optional sign with leading
    // zeros, true on 'Y', 'y', 'T', 't' or a digit 1-9; anything else is false.
    bool boolValue() const;
    // Strings as they are; numbers as their description; anything else "".
    std::string stringValue() const;

    // The rendering log lines use ("%@"): strings bare at the top, quoted inside
    // collections where needed; dictionaries as { key = value; }; arrays as ( a, b ).
    std::string description() const;

    // Foundation equality: numbers compare by value across booleans, integers and
    // reals; collections compare deeply.
    bool isEqual(const Value& other) const;
    friend bool operator==(const Value& a, const Value& b) { return a.isEqual(b); }

    // A separate container with the same elements for arrays, dictionaries and sets; the
    // value itself for scalars.
    Value mutableCopy() const;
    // Copies containers all the way down.
    Value deepCopy() const;

private:
    std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string, platform::Date,
                 platform::Data, platform::Array, platform::Dictionary, platform::Set>
        v_;
};

} // namespace platform
