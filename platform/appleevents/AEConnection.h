#pragma once

#include "platform/appleevents/AEDeadline.h"
#include "platform/appleevents/AEFrame.h"
#include "platform/appleevents/UniqueFd.h"
#include "platform/foundation/Result.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace platform::appleevents {

// The sending end of one connection to an application's socket. Every wait is bounded by
// the deadline; errors carry the status AESendMessage reports (Error::code).
class AEConnection {
public:
    // procNotFound when nothing listens there (no socket, or one left by an application
    // that ended); errAETimeout when the application's queue of connections stays full.
    [[nodiscard]] static Result<AEConnection> open(const std::filesystem::path& socketPath,
                                                   const AEDeadline& deadline);

    // connectionInvalid when the application closed the connection; errAETimeout.
    [[nodiscard]] Result<void> send(std::string_view bytes, const AEDeadline& deadline);
    // The next frame: errAETimeout, connectionInvalid when the connection ends first,
    // errAECorruptData for bytes that are not a frame.
    [[nodiscard]] Result<AEFrame> receive(const AEDeadline& deadline);

private:
    explicit AEConnection(UniqueFd fd) : fd_(std::move(fd)) {}

    UniqueFd fd_;
    std::string buffer_;
};

} // namespace platform::appleevents
