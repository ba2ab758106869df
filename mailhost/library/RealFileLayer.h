#pragma once

#include "mailhost/library/FileLayer.h"

namespace mailhost {

// The file layer as the operating system provides it.
class RealFileLayer : public FileLayer {
public:
    // It holds no state, so one object serves every caller.
    static RealFileLayer& instance();

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
};

} // namespace mailhost
