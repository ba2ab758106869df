#pragma once

#include "mailhost/library/FileLayer.h"

#include <map>
#include <mutex>
#include <optional>
#include <vector>

namespace mailhost {

// A file layer that passes every call to another one, except the calls it has been
// told to fail: the way a full disk (ENOSPC) or a failing one (EIO) would, at the
// exact step a test wants to examine.
class FaultyFileLayer : public FileLayer {
public:
    enum class Call { Open, Write, Truncate, Sync, Rename };

    explicit FaultyFileLayer(FileLayer& next);

    // Makes the `nth` (from 1) coming call of that kind on a path containing
    // `pathFragment` (any path when empty) fail with errno `error`. A failing write
    // first writes `partialBytes` of its bytes, as a disk filling up mid-write does.
    // Sync covers fsync and syncfs.
    void failNth(Call call, std::string pathFragment, int nth, int error, std::size_t partialBytes = 0);
    // How many calls of that kind were made (failed ones included).
    int calls(Call call) const;

    platform::Result<int> open(const std::filesystem::path& path, int flags, mode_t mode) override;
    void close(int fd) override;
    platform::Result<std::size_t> pread(int fd, char* buffer, std::size_t size,
                                        std::uint64_t offset) override;
    platform::Result<void> pwrite(int fd, std::string_view bytes, std::uint64_t offset) override;
    platform::Result<void> ftruncate(int fd, std::uint64_t size) override;
    platform::Result<void> fsync(int fd) override;
    platform::Result<void> syncfs(int fd) override;
    platform::Result<Status> fstat(int fd) override;
    platform::Result<void> fchmod(int fd, mode_t mode) override;
    platform::Result<void> rename(const std::filesystem::path& from,
                                  const std::filesystem::path& to) override;
    platform::Result<void> unlink(const std::filesystem::path& path) override;
    platform::Result<void> lock(int fd) override;
    void unlock(int fd) override;

private:
    struct Rule {
        Call call;
        std::string pathFragment;
        int remaining;
        int error;
        std::size_t partialBytes;
    };

    // The rule that fires for this call, if any; counts the call either way.
    std::optional<Rule> fire(Call call, const std::string& path);
    std::string pathOf(int fd) const;

    FileLayer& next_;
    mutable std::mutex mutex_;
    std::vector<Rule> rules_;
    std::map<int, std::string> paths_;
    std::map<Call, int> calls_;
};

} // namespace mailhost
