#pragma once

#include "platform/foundation/Value.h"

#include <memory>
#include <string>

namespace lumetta {

// Turns a stored value into the form a control edits and back, as bindings apply it
// between the settings and a controller. Transformers are registered under names, which
// interface files refer to.
class ValueTransformer {
public:
    virtual ~ValueTransformer() = default;
    virtual platform::Value transformedValue(const platform::Value& value) const = 0;
    virtual platform::Value reverseTransformedValue(const platform::Value& value) const = 0;

    static void setValueTransformer(std::shared_ptr<ValueTransformer> transformer, const std::string& name);
    // nullptr when none is registered under the name.
    static std::shared_ptr<ValueTransformer> valueTransformerForName(const std::string& name);
};

} // namespace lumetta
