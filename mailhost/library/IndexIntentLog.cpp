#include "mailhost/library/IndexIntentLog.h"

#include "platform/foundation/Log.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace mailhost {

namespace fs = std::filesystem;

namespace {

// Paths are kept NUL-separated: a path may hold any other byte.
constexpr char kSeparator = '\0';

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t n = ::write(fd, bytes.data(), bytes.size());
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        bytes.remove_prefix(static_cast<std::size_t>(n));
    }
    return true;
}

std::string readAll(int fd) {
    std::string out;
    char buffer[8192];
    for (;;) {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return out;
        out.append(buffer, static_cast<std::size_t>(n));
    }
}

} // namespace

IndexIntentLog::IndexIntentLog(fs::path root)
    : folder_(std::move(root) / kFolderName), file_(folder_ / std::to_string(::getpid())) {}

IndexIntentLog::~IndexIntentLog() {
    if (fd_ < 0)
        return;
    // Notes still open at a normal end are left for the next opener to settle.
    if (noted_.empty())
        ::unlink(file_.c_str());
    ::close(fd_);
}

bool IndexIntentLog::openLocked() {
    if (fd_ >= 0)
        return true;
    if (broken_)
        return false;
    std::error_code ec;
    fs::create_directories(folder_, ec);
    if (!ec)
        fs::permissions(folder_, fs::perms::owner_all, ec);
    const int fd =
        ::open(file_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0 || ::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        platform::Log::line("Metadata index: cannot keep notes in " + file_.string() + ": " +
                            std::strerror(errno) + "; a crash may leave the index ahead of the files");
        if (fd >= 0)
            ::close(fd);
        broken_ = true;
        return false;
    }
    fd_ = fd;
    return true;
}

void IndexIntentLog::note(std::string_view path) {
    std::lock_guard guard(mutex_);
    if (noted_.contains(std::string(path)))
        return;
    if (!openLocked())
        return;
    std::string record(path);
    record.push_back(kSeparator);
    if (!writeAll(fd_, record)) {
        platform::Log::line("Metadata index: cannot note " + std::string(path) + " in " + file_.string() +
                            ": " + std::strerror(errno));
        return;
    }
    noted_.emplace(path);
}

void IndexIntentLog::settle(const std::vector<std::string>& paths) {
    std::lock_guard guard(mutex_);
    if (noted_.empty())
        return;
    for (const std::string& path : paths)
        noted_.erase(path);
    // Only an empty set lets the file go: notes cannot be taken out one by one.
    if (noted_.empty() && fd_ >= 0 && ::ftruncate(fd_, 0) != 0)
        platform::Log::line("Metadata index: cannot empty " + file_.string() + ": " + std::strerror(errno));
}

std::size_t IndexIntentLog::outstanding() const {
    std::lock_guard guard(mutex_);
    return noted_.size();
}

IndexIntentLog::Orphans IndexIntentLog::orphans(const fs::path& root) {
    Orphans found;
    std::error_code ec;
    const fs::path folder = root / kFolderName;
    if (!fs::is_directory(folder, ec))
        return found;
    std::unordered_set<std::string> seen;
    for (const auto& entry : fs::directory_iterator(folder, ec)) {
        const int fd = ::open(entry.path().c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
        if (fd < 0)
            continue;
        // A lock that cannot be had belongs to a process still at work (this one among them).
        if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
            ::close(fd);
            continue;
        }
        const std::string bytes = readAll(fd);
        std::size_t start = 0;
        for (std::size_t end; (end = bytes.find(kSeparator, start)) != std::string::npos; start = end + 1)
            if (end > start && seen.emplace(bytes.substr(start, end - start)).second)
                found.paths_.push_back(bytes.substr(start, end - start));
        found.files_.emplace_back(entry.path(), fd);
    }
    return found;
}

IndexIntentLog::Orphans::~Orphans() {
    for (const auto& [path, fd] : files_)
        ::close(fd);
}

IndexIntentLog::Orphans::Orphans(Orphans&& other) noexcept
    : paths_(std::move(other.paths_)), files_(std::move(other.files_)) {
    other.files_.clear();
}

void IndexIntentLog::Orphans::discard() {
    for (const auto& [path, fd] : files_) {
        ::unlink(path.c_str());
        ::close(fd);
    }
    files_.clear();
    paths_.clear();
}

} // namespace mailhost
