#include "mailhost/library/WriteJournal.h"

#include "mailhost/library/Crc32.h"
#include "mailhost/library/TailSite.h"
#include "platform/foundation/Log.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>

using platform::makeError;
using platform::Result;

namespace mailhost {

namespace {

constexpr std::string_view kMagic = "LJR1";
constexpr char kTailRecord = 'T';
constexpr char kCommitRecord = 'C';
// Magic, kind, padding, length before the body; CRC after it.
constexpr std::size_t kFrameHead = 12;
constexpr std::size_t kFrameSize = kFrameHead + 4;
// tailOffset, oldSize, fingerprint, pathLength.
constexpr std::size_t kTailFields = 24;

void putU32(std::string& out, std::uint32_t v) {
    for (int i = 0; i < 4; ++i)
        out.push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
}

void putU64(std::string& out, std::uint64_t v) {
    for (int i = 0; i < 8; ++i)
        out.push_back(static_cast<char>((v >> (8 * i)) & 0xFF));
}

std::uint64_t getLE(std::string_view in, std::size_t at, int bytes) {
    std::uint64_t v = 0;
    for (int i = bytes - 1; i >= 0; --i)
        v = (v << 8) | static_cast<unsigned char>(in[at + static_cast<std::size_t>(i)]);
    return v;
}

void appendFrame(std::string& out, char kind, std::string_view body) {
    const std::size_t start = out.size();
    out.append(kMagic);
    out.push_back(kind);
    out.append(3, '\0');
    putU32(out, static_cast<std::uint32_t>(body.size()));
    out.append(body);
    putU32(out, Crc32::of(std::string_view(out).substr(start + kMagic.size())));
}

void logSkip(const std::string& path, const std::string& why) {
    platform::Log::line("Write journal: left " + path + " alone, it changed since the write began: " + why);
}

} // namespace

WriteJournal::WriteJournal(std::filesystem::path root, FileLayer& files)
    : root_(std::move(root)), files_(files) {}

WriteJournal::~WriteJournal() {
    if (fd_ >= 0)
        files_.close(fd_);
}

std::string WriteJournal::encode(std::span<const Record> records) {
    std::string out;
    std::size_t total = kFrameSize + 4;
    for (const Record& r : records)
        total += kFrameSize + kTailFields + r.path.size() + r.tail.size();
    out.reserve(total);
    std::string body;
    for (const Record& r : records) {
        body.clear();
        putU64(body, r.tailOffset);
        putU64(body, r.oldSize);
        putU32(body, r.fingerprint);
        putU32(body, static_cast<std::uint32_t>(r.path.size()));
        body.append(r.path).append(r.tail);
        appendFrame(out, kTailRecord, body);
    }
    body.clear();
    putU32(body, static_cast<std::uint32_t>(records.size()));
    appendFrame(out, kCommitRecord, body);
    return out;
}

WriteJournal::Contents WriteJournal::decode(std::string_view bytes) {
    Contents contents;
    std::size_t at = 0;
    while (bytes.size() - at >= kFrameSize) {
        if (bytes.substr(at, kMagic.size()) != kMagic)
            break;
        const char kind = bytes[at + 4];
        const std::uint64_t length = getLE(bytes, at + 8, 4);
        if (length > bytes.size() - at - kFrameSize)
            break;
        const std::string_view sealed = bytes.substr(at + kMagic.size(), kFrameHead - kMagic.size() + length);
        if (Crc32::of(sealed) != getLE(bytes, at + kFrameHead + length, 4))
            break;
        const std::string_view body = bytes.substr(at + kFrameHead, length);
        at += kFrameSize + length;
        if (kind == kCommitRecord) {
            contents.committed = body.size() == 4 && getLE(body, 0, 4) == contents.records.size();
            break;
        }
        if (kind != kTailRecord || body.size() < kTailFields)
            break;
        const std::uint64_t pathLength = getLE(body, 20, 4);
        if (pathLength > body.size() - kTailFields)
            break;
        Record r;
        r.tailOffset = getLE(body, 0, 8);
        r.oldSize = getLE(body, 8, 8);
        r.fingerprint = static_cast<std::uint32_t>(getLE(body, 16, 4));
        r.path = std::string(body.substr(kTailFields, pathLength));
        r.tail = std::string(body.substr(kTailFields + pathLength));
        contents.records.push_back(std::move(r));
    }
    return contents;
}

Result<void> WriteJournal::open() {
    if (fd_ >= 0)
        return {};
    // Never through a link: a journal planted as one would have batches written, and
    // emptied, wherever it points.
    auto fd = files_.open(path(), O_RDWR | O_NOFOLLOW, 0);
    if (!fd && fd.error().code == ENOENT) {
        fd = files_.open(path(), O_RDWR | O_CREAT | O_NOFOLLOW, 0600);
        // The journal's own name must survive a crash before any batch relies on it.
        if (fd) {
            if (auto synced = files_.syncFolder(root_); !synced) {
                files_.close(fd.value());
                return synced.error();
            }
        }
    }
    if (!fd)
        return pathError(path(), fd.error());
    fd_ = fd.value();
    return {};
}

Result<void> WriteJournal::lock() {
    if (auto opened = open(); !opened)
        return opened;
    if (auto locked = files_.lock(fd_); !locked)
        return pathError(path(), locked.error());
    return {};
}

void WriteJournal::unlock() {
    if (fd_ >= 0)
        files_.unlock(fd_);
}

Result<void> WriteJournal::commit(std::span<const Record> records) {
    const std::string bytes = encode(records);
    Result<void> written = files_.pwrite(fd_, bytes, 0);
    if (written)
        written = files_.fsync(fd_);
    if (written)
        return {};
    // Whatever part reached the disk must not be replayed: the caller is told that
    // nothing was written, and so it must stay.
    if (files_.ftruncate(fd_, 0) && files_.fsync(fd_))
        return pathError(path(), written.error());
    return makeError(pathError(path(), written.error()).message +
                         "; the journal could not be emptied either, so these changes may still be "
                         "applied when the library next opens",
                     written.error().code);
}

Result<void> WriteJournal::retire(bool flushFileSystem) {
    if (flushFileSystem) {
        if (auto synced = files_.syncfs(fd_); !synced)
            return pathError(path(), synced.error());
    }
    Result<void> emptied = files_.ftruncate(fd_, 0);
    if (emptied)
        emptied = files_.fsync(fd_);
    if (!emptied)
        return pathError(path(), emptied.error());
    return {};
}

Result<bool> WriteJournal::apply(const Record& r) {
    auto fd = files_.open(r.path, O_RDWR | O_NOFOLLOW, 0);
    if (!fd) {
        if (fd.error().code == ENOENT || fd.error().code == ENOTDIR) {
            logSkip(r.path, "it no longer exists");
            return false;
        }
        // Untouched, and it stays so until a person lets it be written: holding the
        // batch for it would keep the whole library from opening.
        if (FileLayer::refusesWriting(fd.error().code)) {
            logSkip(r.path, "it cannot be written: " + fd.error().message);
            return false;
        }
        return pathError(r.path, fd.error());
    }
    FileLayer::Handle handle(files_, fd.value());
    auto site = TailSite::inspect(files_, handle.fd(), r.tailOffset);
    if (!site) {
        if (site.error().code != TailSite::kNotAsExpected)
            return pathError(r.path, site.error());
        logSkip(r.path, site.error().message);
        return false;
    }
    // A write stops anywhere between the old and the new size.
    const std::uint64_t newSize = r.tailOffset + r.tail.size();
    const std::uint64_t size = site.value().fileSize;
    if (size < std::min(r.oldSize, newSize) || size > std::max(r.oldSize, newSize)) {
        logSkip(r.path, "its size is " + std::to_string(size) + " bytes, neither the old nor the new size");
        return false;
    }
    if (site.value().fingerprint != r.fingerprint) {
        logSkip(r.path, "the message before its property list is different");
        return false;
    }
    Result<void> written = files_.pwrite(handle.fd(), r.tail, r.tailOffset);
    if (written)
        written = files_.ftruncate(handle.fd(), newSize);
    if (!written)
        return pathError(r.path, written.error());
    return true;
}

Result<WriteJournal::ReplayReport> WriteJournal::replayPending() {
    auto status = files_.fstat(fd_);
    if (!status)
        return pathError(path(), status.error());
    ReplayReport report;
    if (status.value().size == 0)
        return report;
    std::string bytes(static_cast<std::size_t>(status.value().size), '\0');
    auto n = files_.pread(fd_, bytes.data(), bytes.size(), 0);
    if (!n)
        return pathError(path(), n.error());
    bytes.resize(n.value());

    const Contents contents = decode(bytes);
    if (!contents.committed) {
        // The flush of this batch never finished, so no file was touched.
        platform::Log::line("Write journal: dropped an unfinished batch of " +
                            std::to_string(contents.records.size()) + " property-list writes in " +
                            path().string() + "; no message file had been changed");
        LUMETTA_TRY_VOID(retire(false));
        return report;
    }

    report.hadBatch = true;
    std::size_t failed = 0;
    platform::Error firstError;
    for (const Record& r : contents.records) {
        report.paths.push_back(r.path);
        auto applied = apply(r);
        if (!applied) {
            if (failed++ == 0)
                firstError = applied.error();
        } else if (applied.value()) {
            ++report.applied;
        } else {
            ++report.skipped;
        }
    }
    if (failed > 0)
        return makeError("cannot complete the unfinished property-list writes in " + path().string() + " (" +
                             std::to_string(failed) +
                             " files failed; they are tried again next time): " + firstError.message,
                         firstError.code);
    LUMETTA_TRY_VOID(retire(report.applied > 0));
    platform::Log::line("Write journal: completed an unfinished batch: " + std::to_string(report.applied) +
                        " message files written, " + std::to_string(report.skipped) + " left alone");
    return report;
}

Result<WriteJournal::ReplayReport> WriteJournal::replay(const std::filesystem::path& root, FileLayer& files) {
    // Without a journal there is nothing to replay, and a library opened only to be
    // read gains no new file. A link in its place, even a dangling one, is refused by
    // lock() rather than passed over.
    std::error_code ec;
    if (!std::filesystem::exists(std::filesystem::symlink_status(root / kFileName, ec)))
        return ReplayReport{};
    WriteJournal journal(root, files);
    LUMETTA_TRY_VOID(journal.lock());
    auto report = journal.replayPending();
    journal.unlock();
    return report;
}

} // namespace mailhost
