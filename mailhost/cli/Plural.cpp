#include "mailhost/cli/Plural.h"

namespace mailhost {

std::string Plural::of(std::size_t n, std::string_view singular, std::string_view plural) {
    std::string out = std::to_string(n) + " ";
    if (n == 1)
        return out.append(singular);
    if (plural.empty())
        return out.append(singular).append("s");
    return out.append(plural);
}

} // namespace mailhost
