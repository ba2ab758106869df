#include "lumetta/core/PluginBundle.h"

#include "platform/runtime/Runtime.h"

namespace lumetta {

const platform::runtime::Bundle* PluginBundle::find() {
    const auto* cls = platform::runtime::Runtime::classNamed(kPrincipalClassName);
    return cls ? platform::runtime::Bundle::bundleForClass(cls) : nullptr;
}

} // namespace lumetta
