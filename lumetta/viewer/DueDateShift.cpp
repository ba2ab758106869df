#include "lumetta/viewer/DueDateShift.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace lumetta {

platform::Date DueDateShift::shifted(platform::Date from, int days) {
    // Two's-complement wrap of the 32-bit product, without signed overflow.
    const auto product =
        static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::int64_t>(days) * 86400));
    const double sum = from.seconds + static_cast<double>(product);
    constexpr double kLow = static_cast<double>(std::numeric_limits<std::int32_t>::min());
    constexpr double kHigh = static_cast<double>(std::numeric_limits<std::int32_t>::max());
    const double truncated = std::trunc(sum);
    if (!(truncated >= kLow && truncated <= kHigh))
        return platform::Date{kLow};
    return platform::Date{static_cast<double>(static_cast<std::int32_t>(truncated))};
}

} // namespace lumetta
