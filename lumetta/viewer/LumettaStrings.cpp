#include "lumetta/viewer/LumettaStrings.h"

#include "lumetta/core/LumettaBundle.h"
#include "platform/runtime/Bundle.h"
#include "platform/runtime/Runtime.h"

namespace lumetta {

std::string LumettaStrings::localized(std::string_view key) {
    const auto* cls = platform::runtime::Runtime::classNamed(LumettaBundle::kClassName);
    const platform::runtime::Bundle* bundle = cls ? platform::runtime::Bundle::bundleForClass(cls) : nullptr;
    return bundle ? bundle->localizedString(key, key, kTable) : std::string(key);
}

} // namespace lumetta
