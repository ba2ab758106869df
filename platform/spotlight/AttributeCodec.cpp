#include "platform/spotlight/AttributeCodec.h"

namespace platform::spotlight {

namespace {

Result<AttributeElement> encodeScalar(const Value& value, int position) {
    AttributeElement element;
    element.position = position;
    switch (value.type()) {
    case Value::Type::String:
        element.kind = ElementKind::String;
        element.text = *value.string();
        return element;
    case Value::Type::Boolean:
        element.kind = ElementKind::Boolean;
        element.integer = value.boolValue() ? 1 : 0;
        return element;
    case Value::Type::Integer:
        // Flag words above INT64_MAX do not fit the integer column; as reals they still
        // compare in the right order.
        if (value.isUnsignedBig()) {
            element.kind = ElementKind::Real;
            element.real = value.doubleValue();
        } else {
            element.kind = ElementKind::Integer;
            element.integer = value.integerValue();
        }
        return element;
    case Value::Type::Real:
        element.kind = ElementKind::Real;
        element.real = value.doubleValue();
        return element;
    case Value::Type::Date:
        element.kind = ElementKind::Date;
        element.real = value.date()->seconds;
        return element;
    default:
        return makeError("the metadata index holds strings, numbers, dates and arrays of them, not " +
                         value.description());
    }
}

Value decodeScalar(const AttributeElement& element) {
    switch (element.kind) {
    case ElementKind::String:
        return Value(element.text);
    case ElementKind::Integer:
        return Value(element.integer);
    case ElementKind::Real:
        return Value(element.real);
    case ElementKind::Date:
        return Value(Date{element.real});
    case ElementKind::Boolean:
        return Value(element.integer != 0);
    case ElementKind::EmptyArray:
        break;
    }
    return Value(Array());
}

} // namespace

Result<std::vector<AttributeElement>> AttributeCodec::encode(const Value& value) {
    std::vector<AttributeElement> elements;
    const Array* array = value.array();
    if (array == nullptr) {
        auto element = LUMETTA_TRY(encodeScalar(value, -1));
        elements.push_back(std::move(element));
        return elements;
    }
    if (array->empty()) {
        AttributeElement empty;
        empty.kind = ElementKind::EmptyArray;
        elements.push_back(empty);
        return elements;
    }
    int position = 0;
    for (const Value& item : array->items()) {
        auto element = LUMETTA_TRY(encodeScalar(item, position++));
        elements.push_back(std::move(element));
    }
    return elements;
}

Value AttributeCodec::decode(const std::vector<AttributeElement>& elements) {
    if (elements.empty())
        return Value();
    if (elements.size() == 1 && elements.front().position < 0)
        return decodeScalar(elements.front());
    Array array;
    for (const AttributeElement& element : elements) {
        if (element.kind != ElementKind::EmptyArray)
            array.add(decodeScalar(element));
    }
    return Value(array);
}

} // namespace platform::spotlight
