#include "platform/appleevents/AESocketPath.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace platform::appleevents {

namespace {

constexpr std::size_t kMaxIdentifierBytes = 200;

Result<std::filesystem::path> checked(const std::filesystem::path& folder) {
    struct stat info {};
    if (::lstat(folder.c_str(), &info) != 0) {
        const int err = errno;
        return makeError("cannot use " + folder.string() + ": " + std::strerror(err), err);
    }
    if (!S_ISDIR(info.st_mode) || info.st_uid != ::geteuid())
        return makeError(folder.string() + " is not a folder of this user", EPERM);
    if ((info.st_mode & 077) != 0)
        return makeError(folder.string() + " is open to other users", EPERM);
    return folder;
}

} // namespace

std::filesystem::path AESocketPath::folder() {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && runtime[0] == '/')
        return std::filesystem::path(runtime) / "lumetta-ae";
    return std::filesystem::path("/tmp") / ("lumetta-ae-" + std::to_string(::geteuid()));
}

bool AESocketPath::isValidBundleIdentifier(std::string_view id) {
    if (id.empty() || id.size() > kMaxIdentifierBytes || id.front() == '.' || id.find("..") != id.npos)
        return false;
    for (const char c : id) {
        const bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                        c == '.' || c == '-' || c == '_';
        if (!ok)
            return false;
    }
    return true;
}

bool AESocketPath::fitsSocketAddress(const std::filesystem::path& path) {
    return path.native().size() < sizeof(sockaddr_un::sun_path);
}

Result<std::filesystem::path> AESocketPath::forBundleIdentifier(std::string_view id) {
    if (!isValidBundleIdentifier(id))
        return makeError("\"" + std::string(id) + "\" is not a usable bundle identifier", EINVAL);
    auto path = folder() / (std::string(id) + ".sock");
    if (!fitsSocketAddress(path))
        return makeError("the socket path " + path.string() + " is too long", ENAMETOOLONG);
    return path;
}

Result<std::filesystem::path> AESocketPath::ensureFolder() {
    const auto dir = folder();
    if (::mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) {
        const int err = errno;
        return makeError("cannot create " + dir.string() + ": " + std::strerror(err), err);
    }
    return checked(dir);
}

Result<std::filesystem::path> AESocketPath::checkFolder() {
    return checked(folder());
}

} // namespace platform::appleevents
