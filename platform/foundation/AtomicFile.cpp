#include "platform/foundation/AtomicFile.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

Error ioError(const std::string& what, const std::filesystem::path& path) {
    const int err = errno;
    return makeError(what + " " + path.string() + ": " + std::strerror(err), err);
}

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

} // namespace

Result<void> AtomicFile::write(const std::filesystem::path& path, std::string_view bytes, bool flush) {
    const auto folder = path.parent_path().empty() ? std::filesystem::path(".") : path.parent_path();
    std::string tmpl = (folder / ("." + path.filename().string() + ".XXXXXX.tmp")).string();
    const int fd = ::mkstemps(tmpl.data(), 4);
    if (fd < 0)
        return ioError("cannot create a temporary file beside", path);
    // Readable by the user only, like other preference and mail files.
    ::fchmod(fd, 0600);
    if (!writeAll(fd, bytes) || (flush && ::fsync(fd) != 0)) {
        Error e = ioError("cannot write", tmpl);
        ::close(fd);
        ::unlink(tmpl.c_str());
        return e;
    }
    if (::close(fd) != 0) {
        Error e = ioError("cannot write", tmpl);
        ::unlink(tmpl.c_str());
        return e;
    }
    if (::rename(tmpl.c_str(), path.c_str()) != 0) {
        Error e = ioError("cannot replace", path);
        ::unlink(tmpl.c_str());
        return e;
    }
    const int dir = flush ? ::open(folder.c_str(), O_RDONLY | O_DIRECTORY) : -1;
    if (dir >= 0) {
        ::fsync(dir);
        ::close(dir);
    }
    return {};
}

Result<void> AtomicFile::syncFileSystem(const std::filesystem::path& anyPathOnIt) {
    const int fd = ::open(anyPathOnIt.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return ioError("cannot open", anyPathOnIt);
    const int rc = ::syncfs(fd);
    Result<void> result;
    if (rc != 0)
        result = ioError("cannot flush the file system of", anyPathOnIt);
    ::close(fd);
    return result;
}

Result<std::string> AtomicFile::read(const std::filesystem::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return ioError("cannot open", path);
    std::string out;
    char buf[65536];
    for (;;) {
        const ssize_t n = ::read(fd, buf, sizeof buf);
        if (n < 0) {
            if (errno == EINTR)
                continue;
            Error e = ioError("cannot read", path);
            ::close(fd);
            return e;
        }
        if (n == 0)
            break;
        out.append(buf, static_cast<std::size_t>(n));
    }
    ::close(fd);
    return out;
}

} // namespace platform
