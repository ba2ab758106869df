#pragma once

#include "platform/foundation/Result.h"

#include <filesystem>
#include <string_view>

namespace platform::appleevents {

// Where an application's event socket lives: `<folder>/<bundle identifier>.sock`, the
// folder being `$XDG_RUNTIME_DIR/lumetta-ae`, or `/tmp/lumetta-ae-<uid>` when the session
// has no runtime folder. The folder is the user's alone (0700): whoever can put a socket
// there can answer for an application, so both ends refuse a folder that is not a real
// folder owned by the user with no access for others.
class AESocketPath {
public:
    static std::filesystem::path folder();

    // The socket path for an identifier; an error for an identifier that is not a plain
    // reverse-DNS name (letters, digits, '.', '-', '_'; no leading dot, no "..") or one too
    // long for a socket address.
    static Result<std::filesystem::path> forBundleIdentifier(std::string_view bundleIdentifier);

    // The folder, made private if it does not exist yet (servers).
    static Result<std::filesystem::path> ensureFolder();
    // The folder when it exists and is private; an error otherwise (senders).
    static Result<std::filesystem::path> checkFolder();

    static bool isValidBundleIdentifier(std::string_view bundleIdentifier);
    // Whether `path` fits in a Unix socket address.
    static bool fitsSocketAddress(const std::filesystem::path& path);
};

} // namespace platform::appleevents
