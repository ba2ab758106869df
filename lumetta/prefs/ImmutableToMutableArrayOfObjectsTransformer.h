#pragma once

#include "lumetta/prefs/ValueTransformer.h"

namespace lumetta {

// Lets a list controller edit the entries of a stored list: each entry becomes its own
// mutable copy in a new array, in order; the way back returns the array as it is.
class ImmutableToMutableArrayOfObjectsTransformer : public ValueTransformer {
public:
    static constexpr const char* kName = "ImmutableToMutableArrayOfObjects";

    // Nil (and anything that is not an array) gives nil.
    platform::Value transformedValue(const platform::Value& value) const override;
    platform::Value reverseTransformedValue(const platform::Value& value) const override { return value; }
};

} // namespace lumetta
