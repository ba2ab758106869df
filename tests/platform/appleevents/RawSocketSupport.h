#pragma once

#include "platform/appleevents/UniqueFd.h"

#include <filesystem>

namespace platform::appleevents::testing {

// Plain sockets for playing a misbehaving application or sender.
UniqueFd listenRaw(const std::filesystem::path& path);
UniqueFd connectRaw(const std::filesystem::path& path);

} // namespace platform::appleevents::testing
