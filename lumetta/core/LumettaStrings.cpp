#include "lumetta/core/LumettaStrings.h"

#include "lumetta/core/PluginBundle.h"

namespace lumetta {

std::string LumettaStrings::localized(std::string_view key) {
    const platform::runtime::Bundle* bundle = PluginBundle::find();
    return bundle ? bundle->localizedString(key, key, kTable) : std::string(key);
}

} // namespace lumetta
