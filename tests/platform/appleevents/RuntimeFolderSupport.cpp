#include "RuntimeFolderSupport.h"

#include "platform/appleevents/AESocketPath.h"

#include <cstdlib>
#include <stdexcept>

namespace platform::appleevents::testing {

ScopedRuntimeFolder::ScopedRuntimeFolder() {
    char folder[] = "/tmp/lumetta-ae-test-XXXXXX";
    if (::mkdtemp(folder) == nullptr)
        throw std::runtime_error("cannot make a runtime folder");
    path_ = folder;
    if (const char* old = std::getenv("XDG_RUNTIME_DIR"))
        previous_ = old;
    ::setenv("XDG_RUNTIME_DIR", folder, 1);
}

ScopedRuntimeFolder::~ScopedRuntimeFolder() {
    if (previous_)
        ::setenv("XDG_RUNTIME_DIR", previous_->c_str(), 1);
    else
        ::unsetenv("XDG_RUNTIME_DIR");
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path ScopedRuntimeFolder::socketFor(const std::string& bundleIdentifier) const {
    if (!AESocketPath::ensureFolder())
        throw std::runtime_error("cannot make the socket folder");
    return AESocketPath::forBundleIdentifier(bundleIdentifier).value();
}

} // namespace platform::appleevents::testing
