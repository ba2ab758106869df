#include "mailhost/cli/ValueOutput.h"

#include "mailhost/cli/Json.h"
#include "mailhost/cli/MessageListing.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace mailhost {

using platform::Value;

std::string ValueOutput::plain(const Value& v) {
    if (const platform::Date* date = v.date())
        return MessageListing::isoDate(date->seconds);
    if (v.isBoolean())
        return v.boolValue() ? "true" : "false";
    if (v.isArray() || v.isSet()) {
        const auto& items = v.isArray() ? v.array()->items() : v.set()->items();
        std::string out;
        for (const Value& item : items)
            out += (out.empty() ? "" : ", ") + plain(item);
        return out;
    }
    if (v.isString() || v.isNumber())
        return v.stringValue();
    return v.description();
}

void ValueOutput::writeJson(Json& json, const Value& v) {
    switch (v.type()) {
    case Value::Type::Boolean:
        json.value(v.boolValue());
        break;
    case Value::Type::Integer:
        if (v.isUnsignedBig())
            json.value(v.unsignedValue());
        else
            json.value(v.integerValue());
        break;
    case Value::Type::Real:
        // The listing writer knows integers only: a whole real is written as one,
        // any other keeps its digits as text rather than losing them.
        if (const double d = v.doubleValue();
            std::trunc(d) == d &&
            std::fabs(d) < static_cast<double>(std::numeric_limits<std::int64_t>::max()))
            json.value(static_cast<std::int64_t>(d));
        else
            json.value(v.stringValue());
        break;
    case Value::Type::Date:
        json.value(MessageListing::isoDate(v.date()->seconds));
        break;
    case Value::Type::Array:
    case Value::Type::Set:
        json.beginArray();
        for (const Value& item : v.isArray() ? v.array()->items() : v.set()->items())
            writeJson(json, item);
        json.endArray();
        break;
    case Value::Type::Dictionary:
        json.beginObject();
        for (const auto& [key, item] : v.dictionary()->entries())
            writeJson(json.key(key), item);
        json.endObject();
        break;
    case Value::Type::String:
        json.value(*v.string());
        break;
    default:
        json.value(v.description());
        break;
    }
}

} // namespace mailhost
