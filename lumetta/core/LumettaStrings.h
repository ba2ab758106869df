#pragma once

#include <string>
#include <string_view>

namespace lumetta {

// Text shown to the user, looked up in the plug-in bundle's strings table with the
// English text as the key; the key itself where the bundle or the entry is missing.
class LumettaStrings {
public:
    static constexpr const char* kTable = "LumettaStrings";
    static std::string localized(std::string_view key);
};

} // namespace lumetta
