#include "platform/foundation/PropertyListXmlReader.h"

#include "platform/foundation/XmlText.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace platform {

namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::string_view trim(std::string_view s) {
    while (!s.empty() && isSpace(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && isSpace(s.back()))
        s.remove_suffix(1);
    return s;
}

// Decodes the five named entities and numeric character references.
bool decodeEntities(std::string_view raw, std::string& out) {
    out.reserve(out.size() + raw.size());
    std::size_t i = 0;
    while (i < raw.size()) {
        const auto amp = raw.find('&', i);
        out.append(raw.substr(i, amp == std::string_view::npos ? std::string_view::npos : amp - i));
        if (amp == std::string_view::npos)
            break;
        const auto semi = raw.find(';', amp);
        if (semi == std::string_view::npos || semi - amp > 12)
            return false;
        if (!XmlText::appendReference(raw.substr(amp + 1, semi - amp - 1), out))
            return false;
        i = semi + 1;
    }
    return true;
}

bool parseInteger(std::string_view s, Value& out) {
    s = trim(s);
    bool negative = false;
    if (!s.empty() && (s[0] == '-' || s[0] == '+')) {
        negative = s[0] == '-';
        s.remove_prefix(1);
    }
    int base = 10;
    if (s.size() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) {
        base = 16;
        s.remove_prefix(2);
    }
    std::uint64_t magnitude = 0;
    const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), magnitude, base);
    if (s.empty() || ec != std::errc() || end != s.data() + s.size())
        return false;
    if (!negative) {
        out = Value::unsignedInteger(magnitude);
        return true;
    }
    constexpr std::uint64_t kMinMagnitude = std::uint64_t{1} << 63;
    if (magnitude > kMinMagnitude)
        return false;
    out = Value(static_cast<long long>(magnitude == kMinMagnitude ? std::numeric_limits<std::int64_t>::min()
                                                                  : -static_cast<std::int64_t>(magnitude)));
    return true;
}

bool parseReal(std::string_view s, double& out) {
    s = trim(s);
    if (s == "nan" || s == "NaN") {
        out = std::nan("");
        return true;
    }
    if (s == "+infinity" || s == "infinity" || s == "inf" || s == "+inf") {
        out = HUGE_VAL;
        return true;
    }
    if (s == "-infinity" || s == "-inf") {
        out = -HUGE_VAL;
        return true;
    }
    if (!s.empty() && s[0] == '+')
        s.remove_prefix(1);
    const auto [end, ec] = std::from_chars(s.data(), s.data() + s.size(), out);
    return !s.empty() && ec == std::errc() && end == s.data() + s.size();
}

// Days from 1970-01-01 to a proleptic Gregorian date (Howard Hinnant's algorithm).
std::int64_t daysFromCivil(std::int64_t y, unsigned m, unsigned d) {
    y -= m <= 2;
    const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
    const auto yoe = static_cast<unsigned>(y - era * 400);
    const unsigned doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

// YYYY-MM-DDTHH:MM:SS[.fff]Z, GMT.
bool parseDate(std::string_view s, Date& out) {
    s = trim(s);
    auto number = [&](std::size_t at, std::size_t len, int& value) {
        if (at + len > s.size())
            return false;
        const auto [end, ec] = std::from_chars(s.data() + at, s.data() + at + len, value);
        return ec == std::errc() && end == s.data() + at + len;
    };
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    if (s.size() < 20 || !number(0, 4, year) || s[4] != '-' || !number(5, 2, month) || s[7] != '-' ||
        !number(8, 2, day) || s[10] != 'T' || !number(11, 2, hour) || s[13] != ':' ||
        !number(14, 2, minute) || s[16] != ':' || !number(17, 2, second))
        return false;
    if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 60)
        return false;
    double fraction = 0.0;
    std::size_t i = 19;
    if (s[i] == '.') {
        const std::size_t start = i;
        ++i;
        while (i < s.size() && s[i] >= '0' && s[i] <= '9')
            ++i;
        std::from_chars(s.data() + start, s.data() + i, fraction);
    }
    if (i + 1 != s.size() || s[i] != 'Z')
        return false;
    const std::int64_t days = daysFromCivil(year, static_cast<unsigned>(month), static_cast<unsigned>(day));
    const double unix = static_cast<double>(days * 86400 + hour * 3600 + minute * 60 + second) + fraction;
    out = Date::fromUnix(unix);
    return true;
}

bool decodeBase64(std::string_view s, std::vector<std::uint8_t>& out) {
    static const auto table = [] {
        std::array<std::int8_t, 256> t{};
        t.fill(-1);
        const char* alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        for (int i = 0; i < 64; ++i)
            t[static_cast<unsigned char>(alphabet[i])] = static_cast<std::int8_t>(i);
        return t;
    }();
    out.reserve(s.size() * 3 / 4);
    std::uint32_t buffer = 0;
    int bits = 0;
    bool padding = false;
    for (char c : s) {
        if (isSpace(c))
            continue;
        if (c == '=') {
            padding = true;
            continue;
        }
        const int v = table[static_cast<unsigned char>(c)];
        if (v < 0 || padding)
            return false;
        buffer = (buffer << 6) | static_cast<std::uint32_t>(v);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out.push_back(static_cast<std::uint8_t>((buffer >> bits) & 0xFF));
        }
    }
    return true;
}

} // namespace

Error PropertyListXmlReader::fail(std::string_view what) const {
    return makeError("XML property list: " + std::string(what) + " at byte " + std::to_string(pos_));
}

bool PropertyListXmlReader::skipMisc() {
    for (;;) {
        while (pos_ < text_.size() && isSpace(text_[pos_]))
            ++pos_;
        const std::string_view rest = text_.substr(pos_);
        std::string_view close;
        if (rest.starts_with("<!--"))
            close = "-->";
        else if (rest.starts_with("<?"))
            close = "?>";
        else if (rest.starts_with("<!DOCTYPE") || rest.starts_with("<!doctype"))
            close = ">";
        else if (rest.starts_with("\xEF\xBB\xBF")) { // byte order mark
            pos_ += 3;
            continue;
        } else
            return true;
        const auto end = text_.find(close, pos_ + 2);
        if (end == std::string_view::npos)
            return false;
        pos_ = end + close.size();
    }
}

Result<PropertyListXmlReader::Tag> PropertyListXmlReader::readTag() {
    if (!skipMisc())
        return fail("unterminated markup");
    if (pos_ >= text_.size())
        return fail("unexpected end");
    if (text_[pos_] != '<')
        return fail("text outside an element");
    const auto close = text_.find('>', pos_);
    if (close == std::string_view::npos)
        return fail("unterminated tag");
    std::string_view inside = text_.substr(pos_ + 1, close - pos_ - 1);
    Tag tag;
    if (!inside.empty() && inside.front() == '/') {
        tag.closing = true;
        inside.remove_prefix(1);
    }
    if (!inside.empty() && inside.back() == '/') {
        tag.empty = true;
        inside.remove_suffix(1);
    }
    std::size_t nameEnd = 0;
    while (nameEnd < inside.size() && !isSpace(inside[nameEnd]))
        ++nameEnd;
    tag.name = inside.substr(0, nameEnd);
    if (tag.name.empty() || (tag.closing && tag.empty))
        return fail("malformed tag");
    pos_ = close + 1;
    return tag;
}

Result<std::string> PropertyListXmlReader::readText(std::string_view element) {
    std::string out;
    for (;;) {
        const auto lt = text_.find('<', pos_);
        if (lt == std::string_view::npos)
            return fail("unterminated <" + std::string(element) + ">");
        if (!decodeEntities(text_.substr(pos_, lt - pos_), out))
            return fail("invalid character reference");
        pos_ = lt;
        const std::string_view rest = text_.substr(pos_);
        if (rest.starts_with("<![CDATA[")) {
            const auto end = text_.find("]]>", pos_ + 9);
            if (end == std::string_view::npos)
                return fail("unterminated CDATA section");
            out.append(text_.substr(pos_ + 9, end - pos_ - 9));
            pos_ = end + 3;
            continue;
        }
        if (rest.starts_with("<!--")) {
            const auto end = text_.find("-->", pos_ + 4);
            if (end == std::string_view::npos)
                return fail("unterminated comment");
            pos_ = end + 3;
            continue;
        }
        if (rest.size() >= element.size() + 3 && rest[1] == '/' &&
            rest.substr(2, element.size()) == element && rest[2 + element.size()] == '>') {
            pos_ += element.size() + 3;
            return out;
        }
        return fail("element inside <" + std::string(element) + ">");
    }
}

Result<Value> PropertyListXmlReader::readScalar(const Tag& tag) {
    const std::string_view name = tag.name;
    if (name == "true" || name == "false") {
        if (!tag.empty) {
            const auto text = LUMETTA_TRY(readText(name));
            if (!trim(text).empty())
                return fail("text inside <" + std::string(name) + ">");
        }
        return Value(name == "true");
    }
    std::string text;
    if (!tag.empty) {
        auto read = LUMETTA_TRY(readText(name));
        text = std::move(read);
    }
    if (name == "string")
        return Value(std::move(text));
    if (name == "integer") {
        Value v;
        if (!parseInteger(text, v))
            return fail("invalid integer \"" + text.substr(0, 40) + "\"");
        return v;
    }
    if (name == "real") {
        double d = 0;
        if (!parseReal(text, d))
            return fail("invalid real \"" + text.substr(0, 40) + "\"");
        return Value(d);
    }
    if (name == "date") {
        Date d;
        if (!parseDate(text, d))
            return fail("invalid date \"" + text.substr(0, 40) + "\"");
        return Value(d);
    }
    if (name == "data") {
        Data d;
        if (!decodeBase64(text, d.bytes))
            return fail("invalid base64 data");
        return Value(std::move(d));
    }
    return fail("unknown element <" + std::string(name) + ">");
}

Result<Value> PropertyListXmlReader::read() {
    struct Frame {
        bool isDict;
        Array array;
        Dictionary dict;
        std::string key;
        bool haveKey = false;
    };
    std::vector<Frame> stack;
    Value root;
    bool haveRoot = false;
    bool inPlist = false;

    auto tag = readTag();
    if (!tag)
        return tag.error();
    if (tag.value().name == "plist" && !tag.value().closing) {
        if (tag.value().empty)
            return fail("empty property list");
        inPlist = true;
        tag = readTag();
        if (!tag)
            return tag.error();
    }

    for (;;) {
        const Tag& t = tag.value();
        Value completed;
        bool haveValue = false;
        if (t.closing) {
            if (stack.empty() || t.name != (stack.back().isDict ? "dict" : "array"))
                return fail("unexpected </" + std::string(t.name) + ">");
            if (stack.back().isDict && stack.back().haveKey)
                return fail("key without a value");
            Frame frame = std::move(stack.back());
            stack.pop_back();
            completed = frame.isDict ? Value(std::move(frame.dict)) : Value(std::move(frame.array));
            haveValue = true;
        } else if (t.name == "key") {
            if (stack.empty() || !stack.back().isDict || stack.back().haveKey)
                return fail("<key> outside a dictionary");
            std::string key;
            if (!t.empty) {
                auto text = LUMETTA_TRY(readText("key"));
                key = std::move(text);
            }
            stack.back().key = std::move(key);
            stack.back().haveKey = true;
        } else if (t.name == "dict" || t.name == "array") {
            if (t.empty) {
                completed = t.name == "dict" ? Value(Dictionary()) : Value(Array());
                haveValue = true;
            } else {
                if (stack.size() >= maxDepth_)
                    return makeError("property list nests deeper than " + std::to_string(maxDepth_) +
                                     " levels");
                stack.push_back(Frame{t.name == "dict", Array(), Dictionary(), std::string(), false});
            }
        } else {
            auto scalar = LUMETTA_TRY(readScalar(t));
            completed = std::move(scalar);
            haveValue = true;
        }

        if (haveValue) {
            if (stack.empty()) {
                root = std::move(completed);
                haveRoot = true;
                break;
            }
            Frame& top = stack.back();
            if (top.isDict) {
                if (!top.haveKey)
                    return fail("dictionary value without a key");
                top.dict.set(std::move(top.key), std::move(completed));
                top.key.clear();
                top.haveKey = false;
            } else {
                top.array.add(std::move(completed));
            }
        }
        tag = readTag();
        if (!tag)
            return tag.error();
    }

    if (inPlist) {
        auto end = LUMETTA_TRY(readTag());
        if (!end.closing || end.name != "plist")
            return fail("expected </plist>");
    }
    if (!skipMisc() || pos_ != text_.size())
        return fail("content after the property list");
    if (!haveRoot)
        return fail("no value");
    return root;
}

} // namespace platform
