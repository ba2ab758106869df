#include "lumetta/store/EmlxTailReader.h"

#include "platform/foundation/Value.h"

#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <unistd.h>

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

bool readFully(int fd, char* into, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t n = ::read(fd, into + done, size - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

std::optional<std::string> readOpen(int fd) {
    char head[EmlxTailReader::kCountLineBytes];
    if (!readFully(fd, head, sizeof head))
        return std::nullopt;
    const std::string_view line(head, sizeof head);
    const std::size_t lineFeed = line.find('\n');
    if (lineFeed == std::string_view::npos)
        return std::nullopt;
    // The count is read as the leading number of the text, the way the client's
    // string reading does it: blanks, a sign and the digits that follow.
    const std::int64_t count = platform::Value(std::string(line)).integerValue();
    const std::int64_t start = count + static_cast<std::int64_t>(lineFeed) + 1;
    const off_t length = ::lseek(fd, 0, SEEK_END);
    if (length < 0 || start < 0 || ::lseek(fd, start, SEEK_SET) != start || start > length)
        return std::nullopt;
    std::string tail(static_cast<std::size_t>(length - start), '\0');
    if (!readFully(fd, tail.data(), tail.size()))
        return std::nullopt;
    return tail;
}

} // namespace

std::optional<std::string> EmlxTailReader::read(const std::string& path, bool* opened) {
    FileHandle file(path.empty() ? -1 : ::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (opened)
        *opened = file.fd() >= 0;
    if (file.fd() < 0)
        return std::nullopt;
    return readOpen(file.fd());
}

} // namespace lumetta
