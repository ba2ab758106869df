#include "calendarapp/store/ItemFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace calendarapp {

namespace {

FileIdentity identityOf(const struct stat& info) {
    FileIdentity identity;
    identity.device = static_cast<std::uint64_t>(info.st_dev);
    identity.inode = static_cast<std::uint64_t>(info.st_ino);
    identity.size = static_cast<std::int64_t>(info.st_size);
    identity.modifiedNanoseconds = static_cast<std::int64_t>(info.st_mtim.tv_sec) * 1000000000 +
                                   static_cast<std::int64_t>(info.st_mtim.tv_nsec);
    identity.mode = static_cast<unsigned>(info.st_mode);
    return identity;
}

platform::Error ioError(const std::string& what, const std::filesystem::path& path) {
    const int err = errno;
    return platform::makeError(what + " " + path.string() + ": " + std::strerror(err), err);
}

} // namespace

platform::Date FileIdentity::modified() const {
    return platform::Date::fromUnix(static_cast<double>(modifiedNanoseconds) / 1e9);
}

bool FileIdentity::writable() const {
    return (mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0;
}

platform::Result<FileIdentity> ItemFile::identify(const std::filesystem::path& path) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0)
        return ioError("cannot look at", path);
    return identityOf(info);
}

platform::Result<ItemFile::Contents> ItemFile::read(const std::filesystem::path& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return ioError("cannot open", path);
    struct stat info {};
    if (::fstat(fd, &info) != 0) {
        auto error = ioError("cannot look at", path);
        ::close(fd);
        return error;
    }
    Contents contents{{}, identityOf(info)};
    if (!S_ISREG(info.st_mode) || contents.identity.size > kMaximumSize) {
        ::close(fd);
        return platform::makeError(path.string() + " is not a to-do: " +
                                       (S_ISREG(info.st_mode) ? "larger than any to-do" : "not a plain file"),
                                   EFBIG);
    }
    contents.bytes.reserve(static_cast<std::size_t>(contents.identity.size));
    char buffer[16384];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            auto error = ioError("cannot read", path);
            ::close(fd);
            return error;
        }
        if (n == 0 || static_cast<std::int64_t>(contents.bytes.size()) + n > kMaximumSize)
            break;
        contents.bytes.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fd);
    return contents;
}

} // namespace calendarapp
