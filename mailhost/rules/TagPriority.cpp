#include "mailhost/rules/TagPriority.h"

#include <charconv>

namespace mailhost {

platform::Result<int> TagPriority::read(std::string_view text, const std::string& given) {
    int n = 0;
    const char* first = text.data() + (text.starts_with('+') ? 1 : 0);
    const char* last = text.data() + text.size();
    const auto [end, ec] = std::from_chars(first, last, n);
    if (first == last || ec != std::errc() || end != last || n < 0 || n > kHighest)
        return platform::makeError(given + ": give a whole number from 1 (low) to " +
                                   std::to_string(kHighest) + " (high), or 0 to remove the priority");
    return n;
}

} // namespace mailhost
