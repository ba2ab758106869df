#pragma once

#include "platform/foundation/Result.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace mailhost {

// The file-system calls the message-file writers make, behind one interface so
// that a test can make any of them fail the way a full or failing disk does.
// Errors carry the errno in `code` and name the call; callers add the path.
class FileLayer {
public:
    struct Status {
        std::uint64_t size = 0;
        mode_t mode = 0;
    };

    virtual ~FileLayer() = default;

    // Whether an open for writing that failed with `error` will keep failing until a
    // person changes the file (its permissions, an immutable flag, a read-only mount, a
    // link where a file should be). Nothing was written to such a file, so a write to it
    // is given up rather than kept to be tried again.
    static bool refusesWriting(int error);

    // open(2); O_CLOEXEC is always added. New files get `mode` (before the umask). With
    // O_NOFOLLOW, a symbolic link fails with ELOOP and an error that says so.
    virtual platform::Result<int> open(const std::filesystem::path& path, int flags, mode_t mode) = 0;
    virtual void close(int fd) = 0;
    // Up to `size` bytes at `offset`; fewer only at the end of the file.
    virtual platform::Result<std::size_t> pread(int fd, char* buffer, std::size_t size,
                                                std::uint64_t offset) = 0;
    // All of `bytes` at `offset`, or an error (some of them may have been written).
    virtual platform::Result<void> pwrite(int fd, std::string_view bytes, std::uint64_t offset) = 0;
    virtual platform::Result<void> ftruncate(int fd, std::uint64_t size) = 0;
    virtual platform::Result<void> fsync(int fd) = 0;
    // Flushes the whole file system holding `fd`: one call instead of one per file.
    virtual platform::Result<void> syncfs(int fd) = 0;
    virtual platform::Result<Status> fstat(int fd) = 0;
    virtual platform::Result<void> fchmod(int fd, mode_t mode) = 0;
    virtual platform::Result<void> rename(const std::filesystem::path& from,
                                          const std::filesystem::path& to) = 0;
    virtual platform::Result<void> unlink(const std::filesystem::path& path) = 0;
    // An exclusive advisory lock on the open file, waiting for other holders.
    virtual platform::Result<void> lock(int fd) = 0;
    virtual void unlock(int fd) = 0;

    // Built from the calls above, so faults injected there reach them too. Neither
    // follows a symbolic link in place of the file: a link planted among the message
    // files must not let a read show, or a write replace, a file outside the library.

    [[nodiscard]] platform::Result<std::string> readWholeFile(const std::filesystem::path& path);
    // Replaces the file's bytes all at once: a temporary file in the same folder is
    // written, flushed, given the old file's permissions (0600 for a new file) and
    // renamed over it; then the folder is flushed so the rename survives a crash.
    // A failure at any step leaves the old file as it was.
    [[nodiscard]] platform::Result<void> writeWholeFile(const std::filesystem::path& path,
                                                        std::string_view bytes);
    [[nodiscard]] platform::Result<void> syncFolder(const std::filesystem::path& folder);

    // Closes its descriptor when it goes out of scope.
    class Handle {
    public:
        Handle(FileLayer& files, int fd) : files_(&files), fd_(fd) {}
        Handle(Handle&& other) noexcept : files_(other.files_), fd_(other.fd_) { other.fd_ = -1; }
        Handle& operator=(Handle&&) = delete;
        Handle(const Handle&) = delete;
        Handle& operator=(const Handle&) = delete;
        ~Handle() {
            if (fd_ >= 0)
                files_->close(fd_);
        }
        int fd() const { return fd_; }

    private:
        FileLayer* files_;
        int fd_;
    };
};

// `error` with the path it concerns in front.
platform::Error pathError(const std::filesystem::path& path, const platform::Error& error);

} // namespace mailhost
