#pragma once

#include "platform/foundation/Result.h"

#include <string_view>

namespace platform {

// Writes the one log line of a failure that is let go on purpose.
void logIgnoredError(std::string_view why, const Error& error);

// Lets a failure go where nothing better can be done with it (a rollback after a failure
// already on its way up, a clean-up whose loss the next rebuild repairs), saying why in
// the code and, should it fail, in the system log. A success logs nothing. A lost write
// the user must hear of is reported instead, never let go here.
template <class T> void ignoreError(const Result<T>& result, std::string_view why) {
    if (!result)
        logIgnoredError(why, result.error());
}

} // namespace platform
