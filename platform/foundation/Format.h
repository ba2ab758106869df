#pragma once

#include "platform/foundation/Value.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace platform {

// printf-style formatting over Values, for log lines and query templates:
// %@ description, %d %i integer, %u %x %X unsigned, %f %g %e real, %s string value,
// %% a percent sign; flags, width, precision and length modifiers as printf takes them
// ("%02i:%02i"). A missing argument renders "(null)"; surplus arguments are ignored;
// an unknown conversion is copied as it stands.
std::string format(std::string_view fmt, std::initializer_list<Value> args);

} // namespace platform
