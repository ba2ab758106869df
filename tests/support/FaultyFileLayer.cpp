#include "support/FaultyFileLayer.h"

#include <algorithm>
#include <cstring>

using platform::Result;

namespace mailhost {

namespace {

platform::Error injected(const char* call, int error) {
    return platform::makeError(std::string(call) + ": " + std::strerror(error), error);
}

} // namespace

FaultyFileLayer::FaultyFileLayer(FileLayer& next) : next_(next) {}

void FaultyFileLayer::failNth(Call call, std::string pathFragment, int nth, int error,
                              std::size_t partialBytes) {
    std::lock_guard lock(mutex_);
    rules_.push_back(Rule{call, std::move(pathFragment), nth, error, partialBytes});
}

int FaultyFileLayer::calls(Call call) const {
    std::lock_guard lock(mutex_);
    const auto it = calls_.find(call);
    return it == calls_.end() ? 0 : it->second;
}

std::optional<FaultyFileLayer::Rule> FaultyFileLayer::fire(Call call, const std::string& path) {
    std::lock_guard lock(mutex_);
    ++calls_[call];
    for (auto it = rules_.begin(); it != rules_.end(); ++it) {
        if (it->call != call || path.find(it->pathFragment) == std::string::npos)
            continue;
        if (--it->remaining > 0)
            continue;
        Rule rule = *it;
        rules_.erase(it);
        return rule;
    }
    return std::nullopt;
}

std::string FaultyFileLayer::pathOf(int fd) const {
    std::lock_guard lock(mutex_);
    const auto it = paths_.find(fd);
    return it == paths_.end() ? std::string() : it->second;
}

Result<int> FaultyFileLayer::open(const std::filesystem::path& path, int flags, mode_t mode) {
    if (const auto rule = fire(Call::Open, path.string()))
        return injected("cannot open", rule->error);
    auto fd = next_.open(path, flags, mode);
    if (fd) {
        std::lock_guard lock(mutex_);
        paths_[fd.value()] = path.string();
    }
    return fd;
}

void FaultyFileLayer::close(int fd) {
    {
        std::lock_guard lock(mutex_);
        paths_.erase(fd);
    }
    next_.close(fd);
}

Result<std::size_t> FaultyFileLayer::pread(int fd, char* buffer, std::size_t size, std::uint64_t offset) {
    return next_.pread(fd, buffer, size, offset);
}

Result<void> FaultyFileLayer::pwrite(int fd, std::string_view bytes, std::uint64_t offset) {
    if (const auto rule = fire(Call::Write, pathOf(fd))) {
        const int error = rule->error;
        const std::size_t partial = std::min(rule->partialBytes, bytes.size());
        if (partial > 0)
            (void)next_.pwrite(fd, bytes.substr(0, partial), offset);
        return injected("cannot write", error);
    }
    return next_.pwrite(fd, bytes, offset);
}

Result<void> FaultyFileLayer::ftruncate(int fd, std::uint64_t size) {
    if (const auto rule = fire(Call::Truncate, pathOf(fd)))
        return injected("cannot set the size", rule->error);
    return next_.ftruncate(fd, size);
}

Result<void> FaultyFileLayer::fsync(int fd) {
    if (const auto rule = fire(Call::Sync, pathOf(fd)))
        return injected("cannot flush to disk", rule->error);
    return next_.fsync(fd);
}

Result<void> FaultyFileLayer::syncfs(int fd) {
    if (const auto rule = fire(Call::Sync, pathOf(fd)))
        return injected("cannot flush the file system to disk", rule->error);
    return next_.syncfs(fd);
}

Result<FileLayer::Status> FaultyFileLayer::fstat(int fd) {
    return next_.fstat(fd);
}

Result<void> FaultyFileLayer::fchmod(int fd, mode_t mode) {
    return next_.fchmod(fd, mode);
}

Result<void> FaultyFileLayer::rename(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (const auto rule = fire(Call::Rename, to.string()))
        return injected("cannot rename", rule->error);
    return next_.rename(from, to);
}

Result<void> FaultyFileLayer::unlink(const std::filesystem::path& path) {
    return next_.unlink(path);
}

Result<void> FaultyFileLayer::lock(int fd) {
    return next_.lock(fd);
}

void FaultyFileLayer::unlock(int fd) {
    next_.unlock(fd);
}

} // namespace mailhost
