#pragma once

#include "platform/appleevents/AEDesc.h"
#include "platform/foundation/Result.h"
#include "platform/foundation/Value.h"

#include <chrono>
#include <cstdint>
#include <string_view>

namespace platform::appleevents {

// Launch options. Nothing here has windows to bring forward, so only
// NSWorkspaceLaunchAsync changes anything: the launch returns once the program started,
// without waiting for it to answer.
inline constexpr std::uint32_t NSWorkspaceLaunchWithoutActivation = 0x00000200;
inline constexpr std::uint32_t NSWorkspaceLaunchAsync = 0x00010000;
inline constexpr std::uint32_t NSWorkspaceLaunchDefault = 0x00030000;

// The running applications and how to start one. An application runs, as far as events
// are concerned, when its event socket accepts connections (AESocketPath).
class Workspace {
public:
    static Workspace& sharedWorkspace();

    // One dictionary per application whose socket answers now, with its bundle identifier
    // under "NSApplicationBundleIdentifier"; sorted by identifier.
    platform::Array launchedApplications() const;

    // Starts the program registered for `bundleIdentifier` (ApplicationRegistry) detached
    // from this process (DetachedProcess) and returns once it answers on its socket, or
    // at once when it already does. With a descriptor other than null, the started
    // application then gets it as the direct object of an 'aevt'/'oapp' event. On success
    // `launchIdentifier` (when given) holds the started program's process ID, null when
    // nothing had to be started.
    //
    // Error codes: fnfErr when no program is registered or it is not installed; the errno
    // of a failed exec; procNotFound when the program ended before answering;
    // errAETimeout when it did not answer within launchTimeout().
    [[nodiscard]] Result<void> launchAppWithBundleIdentifier(std::string_view bundleIdentifier,
                                                             std::uint32_t options,
                                                             const AEDesc* additionalEventParamDescriptor,
                                                             platform::Value* launchIdentifier);

    std::chrono::milliseconds launchTimeout() const { return launchTimeout_; }
    void setLaunchTimeout(std::chrono::milliseconds timeout) { launchTimeout_ = timeout; }

private:
    std::chrono::milliseconds launchTimeout_{10000};
};

} // namespace platform::appleevents
