#pragma once

#include "platform/foundation/Result.h"

#include <filesystem>

namespace platform {

// Folders that hold a person's mail or settings: every folder made on the way is
// readable by its owner only (0700, whatever the umask), as the files in them are.
// Folders that already exist keep their permissions.
class PrivateFolder {
public:
    // Makes `path` and any missing folder above it. Fails when something other than a
    // folder (or a link to one) is in the way, naming it.
    static Result<void> create(const std::filesystem::path& path);
};

} // namespace platform
