#include "mailhost/rules/MFLookupLocalizedString.h"

namespace mailhost {

std::string MFLookupLocalizedString(std::string_view, std::string_view defaultText, std::string_view) {
    return std::string(defaultText);
}

} // namespace mailhost
