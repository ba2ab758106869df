#include "platform/foundation/PropertyList.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace platform {

namespace {

constexpr char kHeader[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                           "<plist version=\"1.0\">\n";
constexpr char kFooter[] = "</plist>\n";

// Keys sort as the mail client sorts them: by UTF-16 code units. That differs from
// UTF-8 byte order only between supplementary characters (4-byte sequences, surrogate
// pairs D800-DFFF in UTF-16) and U+E000-U+FFFF (3-byte sequences starting EE or EF).
int utf16Rank(unsigned char lead) {
    if (lead >= 0xF0)
        return 0xED; // sorts with the surrogates, below U+E000
    return lead;
}

bool utf16Less(const std::string& a, const std::string& b) {
    const std::size_t n = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < n; ++i) {
        const auto ca = static_cast<unsigned char>(a[i]);
        const auto cb = static_cast<unsigned char>(b[i]);
        if (ca == cb)
            continue;
        if (ca >= 0xEE && cb >= 0xEE && (ca >= 0xF0) != (cb >= 0xF0))
            return utf16Rank(ca) < utf16Rank(cb);
        return ca < cb;
    }
    return a.size() < b.size();
}

void appendEscaped(std::string& out, const std::string& text) {
    for (char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        default:
            out += c;
        }
    }
}

void appendIndent(std::string& out, std::size_t level) {
    out.append(level, '\t');
}

std::string formatReal(double d) {
    if (std::isnan(d))
        return "nan";
    if (std::isinf(d))
        return d > 0 ? "+infinity" : "-infinity";
    if (d == 0.0)
        return "0.0";
    char buf[40];
    std::snprintf(buf, sizeof buf, "%.17g", d);
    return buf;
}

std::string formatDate(Date d) {
    // Whole seconds, rounded down, in GMT.
    const auto t = static_cast<std::time_t>(std::floor(d.unixSeconds()));
    std::tm tm{};
    gmtime_r(&t, &tm);
    char buf[40];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02dT%02d:%02d:%02dZ", tm.tm_year + 1900, tm.tm_mon + 1,
                  tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
    return buf;
}

// Base64 in lines of at most 76 columns, counting each tab of indentation as eight
// (indentation stops growing after eight tabs), each line indented like the tag.
void appendBase64(std::string& out, const std::vector<std::uint8_t>& bytes, std::size_t level) {
    static constexpr char table[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const std::size_t indent = std::min<std::size_t>(level, 8);
    const std::size_t lineLength = 76 - 8 * indent;
    std::string line;
    auto flush = [&] {
        appendIndent(out, indent);
        out += line;
        out += '\n';
        line.clear();
    };
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::uint32_t b0 = bytes[i];
        const std::uint32_t b1 = i + 1 < bytes.size() ? bytes[i + 1] : 0;
        const std::uint32_t b2 = i + 2 < bytes.size() ? bytes[i + 2] : 0;
        const char quad[4] = {table[b0 >> 2], table[((b0 & 3) << 4) | (b1 >> 4)],
                              i + 1 < bytes.size() ? table[((b1 & 15) << 2) | (b2 >> 6)] : '=',
                              i + 2 < bytes.size() ? table[b2 & 63] : '='};
        for (char c : quad) {
            line += c;
            if (line.size() >= lineLength)
                flush();
        }
    }
    if (!line.empty())
        flush();
}

Result<void> appendValue(std::string& out, const Value& value, std::size_t level) {
    if (level > PropertyList::kMaxDepth)
        return makeError("property list nests deeper than " + std::to_string(PropertyList::kMaxDepth) +
                         " levels");
    appendIndent(out, level);
    switch (value.type()) {
    case Value::Type::Null:
        return makeError("a property list cannot hold a null value");
    case Value::Type::Set:
        return makeError("a property list cannot hold a set");
    case Value::Type::Boolean:
        out += value.boolValue() ? "<true/>\n" : "<false/>\n";
        break;
    case Value::Type::Integer:
        out += "<integer>";
        out += value.isUnsignedBig() ? std::to_string(value.unsignedValue())
                                     : std::to_string(value.integerValue());
        out += "</integer>\n";
        break;
    case Value::Type::Real:
        out += "<real>";
        out += formatReal(value.doubleValue());
        out += "</real>\n";
        break;
    case Value::Type::String:
        out += "<string>";
        appendEscaped(out, *value.string());
        out += "</string>\n";
        break;
    case Value::Type::Date:
        out += "<date>";
        out += formatDate(*value.date());
        out += "</date>\n";
        break;
    case Value::Type::Data:
        out += "<data>\n";
        appendBase64(out, value.data()->bytes, level);
        appendIndent(out, level);
        out += "</data>\n";
        break;
    case Value::Type::Array: {
        const auto& items = value.array()->items();
        if (items.empty()) {
            out += "<array/>\n";
            break;
        }
        out += "<array>\n";
        for (const auto& item : items)
            if (auto r = appendValue(out, item, level + 1); !r)
                return r;
        appendIndent(out, level);
        out += "</array>\n";
        break;
    }
    case Value::Type::Dictionary: {
        const auto& entries = value.dictionary()->entries();
        if (entries.empty()) {
            out += "<dict/>\n";
            break;
        }
        std::vector<const Dictionary::Entry*> sorted;
        sorted.reserve(entries.size());
        for (const auto& entry : entries)
            sorted.push_back(&entry);
        std::sort(sorted.begin(), sorted.end(),
                  [](auto* a, auto* b) { return utf16Less(a->first, b->first); });
        out += "<dict>\n";
        for (const auto* entry : sorted) {
            appendIndent(out, level + 1);
            out += "<key>";
            appendEscaped(out, entry->first);
            out += "</key>\n";
            if (auto r = appendValue(out, entry->second, level + 1); !r)
                return r;
        }
        appendIndent(out, level);
        out += "</dict>\n";
        break;
    }
    }
    return {};
}

} // namespace

Result<std::string> PropertyList::xml(const Value& value) {
    std::string out;
    out.reserve(1024);
    out += kHeader;
    LUMETTA_TRY_VOID(appendValue(out, value, 0));
    out += kFooter;
    return out;
}

} // namespace platform
