#include "lumetta/store/EmlxTailReader.h"

#include "platform/foundation/Value.h"

#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace lumetta {

namespace {

class FileHandle {
public:
    explicit FileHandle(int fd) : fd_(fd) {}
    ~FileHandle() {
        if (fd_ >= 0)
            ::close(fd_);
    }
    FileHandle(const FileHandle&) = delete;
    FileHandle& operator=(const FileHandle&) = delete;
    int fd() const { return fd_; }

private:
    int fd_;
};

// Most message files are small: one read takes the whole file, and only larger ones
// need their length and a second read of the tail. Only the first eleven bytes are
// ever looked at for the count line, however much the first read brings.
constexpr std::size_t kFirstRead = 16 * 1024;

// A short read of a local regular file means its end was reached, so one call
// usually does; only an interrupted call is tried again.
std::size_t readOnce(int fd, char* into, std::size_t size) {
    for (;;) {
        const ssize_t n = ::read(fd, into, size);
        if (n < 0 && errno == EINTR)
            continue;
        return n < 0 ? 0 : static_cast<std::size_t>(n);
    }
}

std::optional<std::string> readOpen(int fd) {
    // One buffer per thread: a first fetch of thousands of records reads as many files.
    thread_local std::vector<char> buffer(kFirstRead);
    const std::size_t got = readOnce(fd, buffer.data(), buffer.size());
    const std::string_view head(buffer.data(), got);
    if (got < EmlxTailReader::kCountLineBytes)
        return std::nullopt;
    const std::string_view line(head.data(), EmlxTailReader::kCountLineBytes);
    const std::size_t lineFeed = line.find('\n');
    if (lineFeed == std::string_view::npos)
        return std::nullopt;
    // The count is read as the leading number of the text, the way the client's
    // string reading does it: blanks, a sign and the digits that follow.
    const std::int64_t count = platform::Value(std::string(line)).integerValue();
    if (count < 0 || count > std::numeric_limits<std::int64_t>::max() / 2)
        return std::nullopt;
    const auto start = static_cast<std::uint64_t>(count) + lineFeed + 1;
    if (got < kFirstRead) {
        // The whole file is in hand.
        if (start > got)
            return std::nullopt;
        return std::string(head.substr(static_cast<std::size_t>(start)));
    }
    struct stat status {};
    if (::fstat(fd, &status) != 0 || start > static_cast<std::uint64_t>(status.st_size))
        return std::nullopt;
    std::string tail(static_cast<std::size_t>(static_cast<std::uint64_t>(status.st_size) - start), '\0');
    std::size_t done = 0;
    while (done < tail.size()) {
        const ssize_t n =
            ::pread(fd, tail.data() + done, tail.size() - done, static_cast<off_t>(start + done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return std::nullopt;
        done += static_cast<std::size_t>(n);
    }
    return tail;
}

} // namespace

std::optional<std::string> EmlxTailReader::read(const std::string& path, bool* opened) {
    // A link in a message file's place is not read through: its tags are not the message's.
    FileHandle file(path.empty() ? -1 : ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (opened)
        *opened = file.fd() >= 0;
    if (file.fd() < 0)
        return std::nullopt;
    return readOpen(file.fd());
}

} // namespace lumetta
