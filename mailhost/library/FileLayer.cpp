#include "mailhost/library/FileLayer.h"

#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

using platform::Result;

namespace mailhost {

bool FileLayer::refusesWriting(int error) {
    return error == EACCES || error == EPERM || error == EROFS || error == ELOOP || error == ETXTBSY ||
           error == EISDIR;
}

platform::Error pathError(const std::filesystem::path& path, const platform::Error& error) {
    return platform::makeError(path.string() + ": " + error.message, error.code);
}

Result<std::string> FileLayer::readWholeFile(const std::filesystem::path& path) {
    auto fd = open(path, O_RDONLY | O_NOFOLLOW, 0);
    if (!fd)
        return pathError(path, fd.error());
    Handle handle(*this, fd.value());
    auto status = fstat(handle.fd());
    if (!status)
        return pathError(path, status.error());
    // One byte more than the size, so a file that grew meanwhile fills the buffer
    // and the loop goes on; a short read is the end of the file.
    std::string out(static_cast<std::size_t>(status.value().size) + 1, '\0');
    std::size_t filled = 0;
    for (;;) {
        auto n = pread(handle.fd(), out.data() + filled, out.size() - filled, filled);
        if (!n)
            return pathError(path, n.error());
        filled += n.value();
        if (filled < out.size())
            break;
        out.resize(out.size() * 2);
    }
    out.resize(filled);
    return out;
}

Result<void> FileLayer::writeWholeFile(const std::filesystem::path& path, std::string_view bytes) {
    const auto folder = path.parent_path().empty() ? std::filesystem::path(".") : path.parent_path();

    mode_t mode = 0600;
    if (auto old = open(path, O_RDONLY | O_NOFOLLOW, 0)) {
        Handle handle(*this, old.value());
        auto status = fstat(handle.fd());
        if (!status)
            return pathError(path, status.error());
        mode = status.value().mode & 07777;
    } else if (old.error().code != ENOENT) {
        return pathError(path, old.error());
    }

    // A name no other writer in this or another process picks at the same time.
    static std::atomic<unsigned> serial{0};
    const auto tmp = folder / ("." + path.filename().string() + "." + std::to_string(::getpid()) + "." +
                               std::to_string(serial.fetch_add(1)) + ".tmp");
    auto fd = open(tmp, O_WRONLY | O_CREAT | O_EXCL, 0600);
    if (!fd)
        return pathError(tmp, fd.error());
    {
        Handle handle(*this, fd.value());
        Result<void> step = pwrite(handle.fd(), bytes, 0);
        if (step)
            step = fchmod(handle.fd(), mode);
        if (step)
            step = fsync(handle.fd());
        if (!step) {
            (void)unlink(tmp);
            return pathError(tmp, step.error());
        }
    }
    if (auto renamed = rename(tmp, path); !renamed) {
        (void)unlink(tmp);
        return pathError(path, renamed.error());
    }
    return syncFolder(folder);
}

Result<void> FileLayer::syncFolder(const std::filesystem::path& folder) {
    auto fd = open(folder, O_RDONLY | O_DIRECTORY, 0);
    if (!fd)
        return pathError(folder, fd.error());
    Handle handle(*this, fd.value());
    if (auto synced = fsync(handle.fd()); !synced)
        return pathError(folder, synced.error());
    return {};
}

} // namespace mailhost
