#pragma once

#include <string>
#include <string_view>

namespace mailhost {

// The client's text for `key` in the strings table `table`. This client ships its text
// in English only, so the answer is always `defaultText`; callers still name the key and
// the table, so that a translation has the entry to provide.
std::string MFLookupLocalizedString(std::string_view key, std::string_view defaultText,
                                    std::string_view table);

} // namespace mailhost
