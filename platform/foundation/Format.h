#pragma once

#include "platform/foundation/Value.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace platform {

// printf-style formatting over Values, for log lines and query templates:
// %@ description, %d %i %ld %lld %li integer, %u unsigned, %f (six decimals), %g,
// %s string value, %% a percent sign. A missing argument renders "(null)"; surplus
// arguments are ignored; an unknown conversion is copied as it stands.
std::string format(std::string_view fmt, std::initializer_list<Value> args);

} // namespace platform
