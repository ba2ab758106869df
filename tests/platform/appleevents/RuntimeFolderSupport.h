#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace platform::appleevents::testing {

// A private XDG_RUNTIME_DIR for one test, so its sockets meet no one else's; removed with
// everything in it afterwards, and the previous value restored.
class ScopedRuntimeFolder {
public:
    ScopedRuntimeFolder();
    ~ScopedRuntimeFolder();
    ScopedRuntimeFolder(const ScopedRuntimeFolder&) = delete;
    ScopedRuntimeFolder& operator=(const ScopedRuntimeFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    // Where the socket of `bundleIdentifier` lives, its folder made.
    std::filesystem::path socketFor(const std::string& bundleIdentifier) const;

private:
    std::filesystem::path path_;
    std::optional<std::string> previous_;
};

} // namespace platform::appleevents::testing
