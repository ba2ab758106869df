#include "mailhost/cli/Json.h"

#include <cstdio>

namespace mailhost {

std::string Json::escape(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
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
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x20) {
                char buf[8];
                std::snprintf(buf, sizeof buf, "\\u%04x",
                              static_cast<unsigned>(static_cast<unsigned char>(c)));
                out += buf;
            } else {
                out += c;
            }
        }
    }
    return out + "\"";
}

void Json::separate() {
    if (needComma_)
        out_ += ',';
    needComma_ = true;
}

Json& Json::beginObject() {
    separate();
    out_ += '{';
    needComma_ = false;
    return *this;
}

Json& Json::endObject() {
    out_ += '}';
    needComma_ = true;
    return *this;
}

Json& Json::beginArray() {
    separate();
    out_ += '[';
    needComma_ = false;
    return *this;
}

Json& Json::endArray() {
    out_ += ']';
    needComma_ = true;
    return *this;
}

Json& Json::key(std::string_view name) {
    separate();
    out_ += escape(name) + ':';
    needComma_ = false;
    return *this;
}

Json& Json::value(std::string_view text) {
    separate();
    out_ += escape(text);
    return *this;
}

Json& Json::value(std::int64_t number) {
    separate();
    out_ += std::to_string(number);
    return *this;
}

Json& Json::value(std::uint64_t number) {
    separate();
    out_ += std::to_string(number);
    return *this;
}

Json& Json::value(bool flag) {
    separate();
    out_ += flag ? "true" : "false";
    return *this;
}

} // namespace mailhost
