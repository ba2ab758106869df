#pragma once

#include "platform/appleevents/OSType.h"

#include <cstdint>

namespace platform::appleevents {

// A LongDateTime: signed seconds since 1 January 1904 00:00:00 in local wall-clock time,
// the form dates travel in inside Apple Events ('ldt ').
using LongDateTime = std::int64_t;

// From 1 January 1904 to the reference date, 1 January 2001: 3,061,152,000 s.
inline constexpr std::int64_t kLongDateTimeReferenceOffset = 3061152000;

// Seconds since 1 January 2001 GMT to a LongDateTime: the UTC offset in force at that
// instant in the process's time zone (TZ, as the C library reads it) is added, and the
// fraction of a second is dropped (rounding down). paramErr for a null output, a
// non-finite time, or one the C library cannot place in local time.
OSStatus UCConvertCFAbsoluteTimeToLongDateTime(double absoluteTime, std::int64_t* longDateTime);

// The inverse. A wall-clock time that happens twice (the hour clocks are set back) reads
// as its first occurrence; one that never happens (the hour they skip forward) is read
// with the offset in force just before the change, landing an hour later. paramErr for a
// null output or a time out of the C library's range.
OSStatus UCConvertLongDateTimeToCFAbsoluteTime(std::int64_t longDateTime, double* absoluteTime);

} // namespace platform::appleevents
