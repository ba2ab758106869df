#include "platform/appleevents/AEDescription.h"

#include <cstdio>

namespace platform::appleevents {

namespace {

std::string quotedBytes(const std::string& bytes) {
    std::string out = "\"";
    for (const char c : bytes) {
        const auto u = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (u < 0x20 || u > 0x7E) {
            char escaped[5];
            std::snprintf(escaped, sizeof escaped, "\\x%02X", u);
            out += escaped;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

std::string hexBytes(const std::string& bytes) {
    std::string out = "$";
    for (const char c : bytes) {
        char pair[3];
        std::snprintf(pair, sizeof pair, "%02X", static_cast<unsigned char>(c));
        out += pair;
    }
    return out;
}

std::string describeAtomic(const AEDesc& desc) {
    const DescType type = desc.descriptorType();
    if (type == typeNull && desc.data().empty())
        return "null";
    if (type == typeObjectBeingExamined && desc.data().empty())
        return "exmn";
    if (const auto code = desc.osTypeValue()) {
        const char* name = type == typeType ? "type" : type == typeEnumerated ? "enum" : "abso";
        return std::string(name) + "(" + osTypeString(*code) + ")";
    }
    if (const auto number = desc.int32Value())
        return std::to_string(*number);
    if (const auto ldt = desc.longDateTimeValue())
        return "ldt(" + std::to_string(*ldt) + ")";
    if (type == typeChar || type == typeUTF8Text || type == typeApplicationBundleID)
        return osTypeString(type) + quotedBytes(desc.data());
    return osTypeString(type) + "(" + hexBytes(desc.data()) + ")";
}

} // namespace

std::string describe(const AEDesc& desc) {
    if (desc.shape() == AEDesc::Shape::Atomic)
        return describeAtomic(desc);
    const bool isRecord = desc.isRecord();
    std::string out = isRecord ? osTypeString(desc.descriptorType()) + "{" : "[";
    for (std::size_t i = 1; i <= desc.count(); ++i) {
        if (i > 1)
            out += ", ";
        if (isRecord)
            out += osTypeString(desc.keywordAt(i)) + ": ";
        out += describe(*desc.item(i));
    }
    return out + (isRecord ? "}" : "]");
}

} // namespace platform::appleevents
