#pragma once

#include "platform/foundation/Value.h"

#include <string>

namespace mailhost {

class Json;

// Values as the command line shows them: dates in ISO 8601 (UTC), booleans as
// true/false, lists comma-separated; with --json as the matching JSON value.
class ValueOutput {
public:
    static std::string plain(const platform::Value& value);
    static void writeJson(Json& json, const platform::Value& value);
};

} // namespace mailhost
