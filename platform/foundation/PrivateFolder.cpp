#include "platform/foundation/PrivateFolder.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <vector>

namespace platform {

namespace fs = std::filesystem;

Result<void> PrivateFolder::create(const fs::path& path) {
    // From the first folder that exists downwards, so that each new one is made with
    // its mode rather than changed afterwards: no moment where it is open to others.
    std::vector<fs::path> missing;
    std::error_code ec;
    for (fs::path at = path; !at.empty() && !fs::exists(fs::symlink_status(at, ec)); at = at.parent_path()) {
        missing.push_back(at);
        if (at == at.parent_path())
            break;
    }
    for (auto folder = missing.rbegin(); folder != missing.rend(); ++folder)
        if (::mkdir(folder->c_str(), 0700) != 0 && errno != EEXIST)
            return makeError("cannot create " + folder->string() + ": " + std::strerror(errno), errno);
    if (!fs::is_directory(path, ec))
        return makeError("cannot create " + path.string() + ": something other than a folder is in its place",
                         ENOTDIR);
    return {};
}

} // namespace platform
