#include "platform/appleevents/LongDateTime.h"

#include "platform/appleevents/AECodes.h"
#include "platform/foundation/Date.h"

#include <cmath>
#include <ctime>
#include <optional>

namespace platform::appleevents {

namespace {

// Far beyond any calendar date, yet well inside what localtime_r and int64 arithmetic take.
constexpr double kLimitSeconds = 1e15;
constexpr std::int64_t kDay = 86400;

// The UTC offset in force at a Unix instant, in seconds east of Greenwich.
std::optional<std::int64_t> offsetAt(std::int64_t unixSeconds) {
    const auto t = static_cast<std::time_t>(unixSeconds);
    std::tm parts{};
    if (::localtime_r(&t, &parts) == nullptr)
        return std::nullopt;
    return static_cast<std::int64_t>(parts.tm_gmtoff);
}

} // namespace

OSStatus UCConvertCFAbsoluteTimeToLongDateTime(double absoluteTime, std::int64_t* longDateTime) {
    if (longDateTime == nullptr || !std::isfinite(absoluteTime) || std::fabs(absoluteTime) > kLimitSeconds)
        return paramErr;
    // Re-read TZ: the zone can change while the process runs (tests pin it per case).
    ::tzset();
    const auto seconds = static_cast<std::int64_t>(std::floor(absoluteTime));
    const std::int64_t unixSeconds = seconds + static_cast<std::int64_t>(Date::kUnixOffset);
    const auto offset = offsetAt(unixSeconds);
    if (!offset)
        return paramErr;
    *longDateTime = seconds + *offset + kLongDateTimeReferenceOffset;
    return noErr;
}

OSStatus UCConvertLongDateTimeToCFAbsoluteTime(std::int64_t longDateTime, double* absoluteTime) {
    if (absoluteTime == nullptr || longDateTime > static_cast<std::int64_t>(kLimitSeconds) ||
        longDateTime < -static_cast<std::int64_t>(kLimitSeconds))
        return paramErr;
    ::tzset();
    // The wall-clock reading as if it were UTC; the instant is that minus the offset in
    // force then. Near a change of offset two offsets are candidates: the ones a day
    // before and a day after bracket it, and a candidate holds when the instant it gives
    // really has that offset.
    const std::int64_t wall =
        longDateTime - kLongDateTimeReferenceOffset + static_cast<std::int64_t>(Date::kUnixOffset);
    const auto before = offsetAt(wall - kDay);
    const auto after = offsetAt(wall + kDay);
    if (!before || !after)
        return paramErr;
    std::optional<std::int64_t> instant;
    for (const std::int64_t offset : {*before, *after}) {
        const std::int64_t candidate = wall - offset;
        const auto actual = offsetAt(candidate);
        if (actual && *actual == offset && (!instant || candidate < *instant))
            instant = candidate;
    }
    // No candidate holds inside the skipped hour: read it with the earlier offset.
    if (!instant)
        instant = wall - *before;
    *absoluteTime = static_cast<double>(*instant - static_cast<std::int64_t>(Date::kUnixOffset));
    return noErr;
}

} // namespace platform::appleevents
