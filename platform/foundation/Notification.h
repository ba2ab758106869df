#pragma once

#include "platform/foundation/Dictionary.h"

#include <string>

namespace platform {

// A posted notification: its name, the posting object (by identity; nullptr when
// posted with no object) and its user information.
struct Notification {
    std::string name;
    const void* object = nullptr;
    Dictionary userInfo;
};

} // namespace platform
