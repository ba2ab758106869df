#include "platform/foundation/Value.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <limits>

namespace platform {

namespace {

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}
bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string_view skipBlanks(std::string_view s) {
    std::size_t i = 0;
    while (i < s.size() && isBlank(s[i]))
        ++i;
    return s.substr(i);
}

// Leading "[blanks][sign]digits" of a string, saturating at [lo, hi].
std::int64_t scanInteger(std::string_view s, std::int64_t lo, std::int64_t hi) {
    s = skipBlanks(s);
    bool negative = false;
    if (!s.empty() && (s[0] == '+' || s[0] == '-')) {
        negative = s[0] == '-';
        s.remove_prefix(1);
    }
    // Accumulate toward the sign so that the most negative value is reachable.
    std::int64_t result = 0;
    for (char c : s) {
        if (!isDigit(c))
            break;
        const int digit = c - '0';
        if (negative) {
            if (result < (lo + digit) / 10)
                return lo;
            result = result * 10 - digit;
        } else {
            if (result > (hi - digit) / 10)
                return hi;
            result = result * 10 + digit;
        }
    }
    return result;
}

double scanDouble(std::string_view s) {
    s = skipBlanks(s);
    std::size_t n = 0;
    if (n < s.size() && (s[n] == '+' || s[n] == '-'))
        ++n;
    const std::size_t digitsStart = n;
    while (n < s.size() && isDigit(s[n]))
        ++n;
    if (n < s.size() && s[n] == '.') {
        ++n;
        while (n < s.size() && isDigit(s[n]))
            ++n;
    }
    if (n == digitsStart || (n == digitsStart + 1 && s[digitsStart] == '.'))
        return 0.0;
    if (n < s.size() && (s[n] == 'e' || s[n] == 'E')) {
        std::size_t e = n + 1;
        if (e < s.size() && (s[e] == '+' || s[e] == '-'))
            ++e;
        if (e < s.size() && isDigit(s[e])) {
            while (e < s.size() && isDigit(s[e]))
                ++e;
            n = e;
        }
    }
    std::string_view number = s.substr(0, n);
    if (!number.empty() && number[0] == '+')
        number.remove_prefix(1);
    double result = 0.0;
    const auto [ptr, ec] = std::from_chars(number.data(), number.data() + number.size(), result);
    if (ec == std::errc::result_out_of_range)
        return number[0] == '-' ? -HUGE_VAL : HUGE_VAL;
    (void)ptr;
    return ec == std::errc() ? result : 0.0;
}

template <class Int> Int saturate(double d) {
    if (std::isnan(d))
        return 0;
    const double t = std::trunc(d);
    if (t <= static_cast<double>(std::numeric_limits<Int>::min()))
        return std::numeric_limits<Int>::min();
    if (t >= static_cast<double>(std::numeric_limits<Int>::max()))
        return std::numeric_limits<Int>::max();
    return static_cast<Int>(t);
}

// Characters that may stand in a description without quotes.
bool isBareStringChar(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || isDigit(static_cast<char>(c)) || c == '_' ||
           c == '$' || c == '+' || c == '/' || c == ':' || c == '.' || c == '-';
}

std::string quoteIfNeeded(const std::string& s) {
    if (!s.empty() && std::all_of(s.begin(), s.end(), [](char c) { return isBareStringChar(c); }))
        return s;
    std::string out = "\"";
    for (char c : s) {
        switch (c) {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\t':
            out += "\\t";
            break;
        case '\r':
            out += "\\r";
            break;
        default:
            out += c;
        }
    }
    return out + "\"";
}

std::string formatGmt(Date d) {
    const std::time_t t = static_cast<std::time_t>(std::floor(d.unixSeconds()));
    std::tm tm{};
    gmtime_r(&t, &tm);
    char buf[64];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d +0000", tm.tm_year + 1900, tm.tm_mon + 1,
                  tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
    return buf;
}

std::string formatReal(double d) {
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.16g", d);
    return buf;
}

void describe(const Value& value, int indent, bool nested, std::string& out) {
    const std::string pad(static_cast<std::size_t>(indent) * 4, ' ');
    const std::string innerPad = pad + "    ";
    switch (value.type()) {
    case Value::Type::Null:
        out += nested ? "<null>" : "(null)";
        return;
    case Value::Type::String:
        out += nested ? quoteIfNeeded(*value.string()) : *value.string();
        return;
    case Value::Type::Array:
    case Value::Type::Set: {
        // Foundation prints a set as {(a, b)}; an array as (a, b).
        const bool isSet = value.isSet();
        out += isSet ? "{(\n" : "(\n";
        const auto& items = isSet ? value.set()->items() : value.array()->items();
        for (std::size_t i = 0; i < items.size(); ++i) {
            out += innerPad;
            describe(items[i], indent + 1, true, out);
            out += i + 1 < items.size() ? ",\n" : "\n";
        }
        out += pad + (isSet ? ")}" : ")");
        return;
    }
    case Value::Type::Dictionary: {
        // Sorted, as Foundation prints string-keyed dictionaries, so log lines are stable.
        auto entries = value.dictionary()->entries();
        std::sort(entries.begin(), entries.end(),
                  [](const auto& a, const auto& b) { return a.first < b.first; });
        out += "{\n";
        for (const auto& [key, item] : entries) {
            out += innerPad + quoteIfNeeded(key) + " = ";
            describe(item, indent + 1, true, out);
            out += ";\n";
        }
        out += pad + "}";
        return;
    }
    default:
        out += value.stringValue();
        return;
    }
}

} // namespace

Value Value::unsignedInteger(std::uint64_t u) {
    Value v;
    if (u > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
        v.v_ = u;
    else
        v.v_ = static_cast<std::int64_t>(u);
    return v;
}

Value::Type Value::type() const {
    switch (v_.index()) {
    case 0:
        return Type::Null;
    case 1:
        return Type::Boolean;
    case 2:
    case 3:
        return Type::Integer;
    case 4:
        return Type::Real;
    case 5:
        return Type::String;
    case 6:
        return Type::Date;
    case 7:
        return Type::Data;
    case 8:
        return Type::Array;
    case 9:
        return Type::Dictionary;
    default:
        return Type::Set;
    }
}

bool Value::isNumber() const {
    const Type t = type();
    return t == Type::Boolean || t == Type::Integer || t == Type::Real;
}

std::int64_t Value::integerValue() const {
    if (auto b = std::get_if<bool>(&v_))
        return *b ? 1 : 0;
    if (auto i = std::get_if<std::int64_t>(&v_))
        return *i;
    if (auto u = std::get_if<std::uint64_t>(&v_))
        return static_cast<std::int64_t>(*u);
    if (auto d = std::get_if<double>(&v_))
        return saturate<std::int64_t>(*d);
    if (auto s = std::get_if<std::string>(&v_))
        return scanInteger(*s, std::numeric_limits<std::int64_t>::min(),
                           std::numeric_limits<std::int64_t>::max());
    return 0;
}

int Value::intValue() const {
    if (auto d = std::get_if<double>(&v_))
        return saturate<int>(*d);
    if (auto s = std::get_if<std::string>(&v_))
        return static_cast<int>(scanInteger(*s, INT_MIN, INT_MAX));
    return static_cast<int>(static_cast<std::uint32_t>(integerValue()));
}

std::uint64_t Value::unsignedValue() const {
    if (auto u = std::get_if<std::uint64_t>(&v_))
        return *u;
    if (auto d = std::get_if<double>(&v_))
        return *d < 0 ? static_cast<std::uint64_t>(saturate<std::int64_t>(*d)) : saturate<std::uint64_t>(*d);
    return static_cast<std::uint64_t>(integerValue());
}

double Value::doubleValue() const {
    if (auto b = std::get_if<bool>(&v_))
        return *b ? 1.0 : 0.0;
    if (auto i = std::get_if<std::int64_t>(&v_))
        return static_cast<double>(*i);
    if (auto u = std::get_if<std::uint64_t>(&v_))
        return static_cast<double>(*u);
    if (auto d = std::get_if<double>(&v_))
        return *d;
    if (auto s = std::get_if<std::string>(&v_))
        return scanDouble(*s);
    return 0.0;
}

bool Value::boolValue() const {
    if (auto s = std::get_if<std::string>(&v_)) {
        std::string_view rest = skipBlanks(*s);
        if (!rest.empty() && (rest[0] == '+' || rest[0] == '-'))
            rest.remove_prefix(1);
        while (!rest.empty() && rest[0] == '0')
            rest.remove_prefix(1);
        if (rest.empty())
            return false;
        const char c = rest[0];
        return c == 'Y' || c == 'y' || c == 'T' || c == 't' || (c >= '1' && c <= '9');
    }
    if (auto d = std::get_if<double>(&v_))
        return *d != 0.0;
    return integerValue() != 0;
}

std::string Value::stringValue() const {
    switch (v_.index()) {
    case 1:
        return std::get<bool>(v_) ? "1" : "0";
    case 2:
        return std::to_string(std::get<std::int64_t>(v_));
    case 3:
        return std::to_string(std::get<std::uint64_t>(v_));
    case 4:
        return formatReal(std::get<double>(v_));
    case 5:
        return std::get<std::string>(v_);
    case 6:
        return formatGmt(std::get<platform::Date>(v_));
    case 7: {
        static const char* hex = "0123456789abcdef";
        std::string out = "<";
        const auto& bytes = std::get<platform::Data>(v_).bytes;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            if (i > 0 && i % 4 == 0)
                out += ' ';
            out += hex[bytes[i] >> 4];
            out += hex[bytes[i] & 0xF];
        }
        return out + ">";
    }
    default:
        return {};
    }
}

std::string Value::description() const {
    std::string out;
    describe(*this, 0, false, out);
    return out;
}

bool Value::isEqual(const Value& other) const {
    if (isNumber() && other.isNumber()) {
        if (isReal() || other.isReal())
            return doubleValue() == other.doubleValue();
        // Integral on both sides: compare without losing the unsigned top half.
        if (isUnsignedBig() || other.isUnsignedBig())
            return isUnsignedBig() && other.isUnsignedBig() && unsignedValue() == other.unsignedValue();
        return integerValue() == other.integerValue();
    }
    if (v_.index() != other.v_.index())
        return false;
    switch (type()) {
    case Type::Null:
        return true;
    case Type::String:
        return *string() == *other.string();
    case Type::Date:
        return *date() == *other.date();
    case Type::Data:
        return *data() == *other.data();
    case Type::Array:
        return array()->isEqual(*other.array());
    case Type::Dictionary:
        return dictionary()->isEqual(*other.dictionary());
    case Type::Set:
        return set()->isEqual(*other.set());
    default:
        return false;
    }
}

Value Value::mutableCopy() const {
    if (auto a = array())
        return a->mutableCopy();
    if (auto d = dictionary())
        return d->mutableCopy();
    if (auto s = set())
        return s->mutableCopy();
    return *this;
}

Value Value::deepCopy() const {
    if (auto a = array()) {
        platform::Array copy;
        for (const auto& item : a->items())
            copy.add(item.deepCopy());
        return copy;
    }
    if (auto d = dictionary()) {
        platform::Dictionary copy;
        for (const auto& [key, item] : d->entries())
            copy.set(key, item.deepCopy());
        return copy;
    }
    if (auto s = set()) {
        platform::Set copy;
        for (const auto& item : s->items())
            copy.add(item.deepCopy());
        return copy;
    }
    return *this;
}

} // namespace platform
