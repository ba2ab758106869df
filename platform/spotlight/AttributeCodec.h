#pragma once

#include "platform/foundation/Result.h"
#include "platform/foundation/Value.h"

#include <cstdint>
#include <string>
#include <vector>

namespace platform::spotlight {

// How one stored element is typed. Each kind reads back as the value that was written, and
// the numeric kinds keep their number in the indexed number column.
enum class ElementKind : int { String = 1, Integer = 2, Real = 3, Date = 4, Boolean = 5, EmptyArray = 6 };

// One row of the attributes table. A scalar is one element at position -1, an array one
// element per entry at positions 0, 1, ... and an empty array a single EmptyArray element,
// so that it reads back as an empty array rather than as absent.
struct AttributeElement {
    int position = -1;
    ElementKind kind = ElementKind::String;
    std::string text;         // String
    std::int64_t integer = 0; // Integer, Boolean
    double real = 0.0;        // Real, Date (seconds since 2001)
};

// Turns attribute values into table rows and back. The index holds what a query can
// compare: strings, numbers, dates, and arrays of those.
class AttributeCodec {
public:
    // An error for a value the index cannot hold (data, dictionaries, nested arrays).
    [[nodiscard]] static Result<std::vector<AttributeElement>> encode(const Value& value);
    // The elements of one attribute in position order.
    static Value decode(const std::vector<AttributeElement>& elements);
};

} // namespace platform::spotlight
