#include "lumetta/prefs/ImmutableToMutableArrayOfObjectsTransformer.h"

namespace lumetta {

platform::Value
ImmutableToMutableArrayOfObjectsTransformer::transformedValue(const platform::Value& value) const {
    const platform::Array* entries = value.array();
    if (!entries)
        return platform::Value();
    platform::Array copies;
    for (const platform::Value& entry : entries->items())
        copies.add(entry.mutableCopy());
    return copies;
}

} // namespace lumetta
