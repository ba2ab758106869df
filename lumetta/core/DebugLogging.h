#pragma once

#include "platform/foundation/Format.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/UserDefaults.h"

#include <initializer_list>
#include <string_view>

namespace lumetta {

// The "lumettaDebugLogging" setting: 0 or absent is quiet, above 0 traces every tag
// write, removal and index write, above 1 also dumps merges and attributes. It is
// read on every call so that a change in the settings takes effect at once.
inline int debugLoggingLevel() {
    return static_cast<int>(platform::UserDefaults::standard().integerForKey("lumettaDebugLogging"));
}

// Logs one formatted line when the debug level is above `above`.
inline void debugLog(int above, std::string_view fmt, std::initializer_list<platform::Value> args) {
    if (debugLoggingLevel() > above)
        platform::Log::line(platform::format(fmt, args));
}

} // namespace lumetta
