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
    // One read normally returns the whole file: asking for a byte more than its size
    // shows that it ended without a second call.
    const auto expected = static_cast<std::size_t>(contents.identity.size);
    contents.bytes.resize(expected + 1);
    std::size_t have = 0;
    for (;;) {
        const ssize_t n = ::read(fd, contents.bytes.data() + have, contents.bytes.size() - have);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            auto error = ioError("cannot read", path);
            ::close(fd);
            return error;
        }
        have += static_cast<std::size_t>(n);
        if (n == 0 || have < contents.bytes.size())
            break;
        if (static_cast<std::int64_t>(have) > kMaximumSize) // grew past any to-do while being read
            break;
        contents.bytes.resize(contents.bytes.size() * 2);
    }
    contents.bytes.resize(have);
    ::close(fd);
    return contents;
}

} // namespace calendarapp
