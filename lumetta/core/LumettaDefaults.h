#pragma once

#include "platform/foundation/UserDefaults.h"
#include "platform/foundation/Value.h"

#include <string>
#include <vector>

namespace lumetta {

// The settings the plug-in fills in on first use, in the order they are tested.
class LumettaDefaults {
public:
    struct Entry {
        const char* key;
        platform::Value value;
    };

    static const std::vector<Entry>& table();

    // Writes each default whose key has no value at all (of any type) with
    // setObject, so it becomes a stored value; never touches a key that has one.
    static void fillIn(platform::UserDefaults& defaults);

    // Seconds until the next calendar refresh: 600 divided by the refreshes per ten
    // minutes, in whole seconds; 0 or a missing value counts as 1.
    static int refreshDelaySeconds(const platform::Value& frequency);
};

} // namespace lumetta
