#include "platform/foundation/IgnoreError.h"

#include "platform/foundation/Log.h"

#include <string>

namespace platform {

void logIgnoredError(std::string_view why, const Error& error) {
    std::string line = "Ignored a failure (";
    line.append(why).append("): ").append(error.message);
    if (error.code != 0)
        line.append(" (code ").append(std::to_string(error.code)).append(")");
    Log::line(line);
}

} // namespace platform
