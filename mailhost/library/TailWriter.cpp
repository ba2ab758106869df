#include "mailhost/library/TailWriter.h"

#include "mailhost/library/TailSite.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/PropertyList.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unordered_map>

using platform::makeError;
using platform::Result;

namespace mailhost {

namespace {

// No reader accepts a larger property list, and the journal's records could not hold
// one much larger.
constexpr std::size_t kMaxTail = platform::PropertyList::kMaxInputBytes;

TailWriter::FileResult skipped(const std::string& path, const std::string& why) {
    platform::Log::line("Message files: did not write the property list of " + path + ": " + why);
    return {TailWriter::Outcome::Skipped, makeError(path + ": " + why, TailSite::kNotAsExpected)};
}

TailWriter::FileResult failed(const std::string& path, const platform::Error& error,
                              std::string_view note = {}) {
    std::string message = pathError(path, error).message;
    if (!note.empty())
        message.append("; ").append(note);
    return {TailWriter::Outcome::Failed, makeError(std::move(message), error.code)};
}

} // namespace

std::size_t TailWriter::BatchResult::count(Outcome outcome) const {
    return static_cast<std::size_t>(
        std::count_if(files.begin(), files.end(), [&](const FileResult& f) { return f.outcome == outcome; }));
}

TailWriter::TailWriter(std::filesystem::path root, FileLayer& files)
    : TailWriter(std::move(root), files, Options{}) {}

TailWriter::TailWriter(std::filesystem::path root, FileLayer& files, Options options)
    : files_(files), options_(options), journal_(std::move(root), files) {}

Result<void> TailWriter::lock() {
    mutex_.lock();
    if (depth_++ > 0)
        return {};
    auto locked = journal_.lock();
    // The journal holds one batch at a time: one left unfinished by a failed write
    // is completed before another may take its place.
    Result<WriteJournal::ReplayReport> pending = locked ? journal_.replayPending() : locked.error();
    if (pending)
        return {};
    if (locked)
        journal_.unlock();
    --depth_;
    mutex_.unlock();
    if (!locked)
        return locked.error();
    return makeError("an earlier write of message files is unfinished and cannot be completed yet: " +
                         pending.error().message,
                     pending.error().code);
}

void TailWriter::unlock() {
    if (--depth_ == 0)
        journal_.unlock();
    mutex_.unlock();
}

Result<TailWriter::BatchResult> TailWriter::write(std::span<const TailWrite> batch,
                                                  const Committed& committed) {
    LUMETTA_TRY_VOID(lock());
    auto result = writeLocked(batch, committed);
    unlock();
    return result;
}

void TailWriter::plan(std::span<const TailWrite> batch, BatchResult& result,
                      std::vector<WriteJournal::Record>& records, std::vector<Planned>& planned) {
    // Only the last tail for a file counts: writing two in one batch would make the
    // second find the file no longer as described.
    std::unordered_map<std::string, std::size_t> last;
    last.reserve(batch.size());
    for (std::size_t i = 0; i < batch.size(); ++i)
        last[batch[i].path.string()] = i;

    for (std::size_t i = 0; i < batch.size(); ++i) {
        const TailWrite& w = batch[i];
        const std::string path = w.path.string();
        if (last[path] != i) {
            result.files[i] = skipped(path, "a later entry of the same batch writes it");
            continue;
        }
        if (w.tail.size() > kMaxTail) {
            result.files[i] = failed(path, makeError("the new property list is too large (" +
                                                     std::to_string(w.tail.size()) + " bytes)"));
            continue;
        }
        if (w.site) {
            records.push_back(
                WriteJournal::Record{path, w.tailOffset, w.site->fileSize, w.site->fingerprint, w.tail});
            planned.push_back(Planned{i, w.site->oldTail});
            continue;
        }
        auto fd = files_.open(w.path, O_RDWR | O_NOFOLLOW, 0);
        if (!fd) {
            result.files[i] = fd.error().code == ENOENT ? skipped(path, "it no longer exists")
                              : FileLayer::refusesWriting(fd.error().code)
                                  ? skipped(path, "it cannot be written: " + fd.error().message)
                                  : failed(path, fd.error());
            continue;
        }
        FileLayer::Handle handle(files_, fd.value());
        auto site = TailSite::inspect(files_, handle.fd(), w.tailOffset, kKeepOldTail);
        if (!site) {
            result.files[i] = site.error().code == TailSite::kNotAsExpected
                                  ? skipped(path, site.error().message)
                                  : failed(path, site.error());
            continue;
        }
        records.push_back(WriteJournal::Record{path, w.tailOffset, site.value().fileSize,
                                               site.value().fingerprint, w.tail});
        planned.push_back(Planned{i, std::move(site.value().oldTail)});
    }
}

TailWriter::FileResult TailWriter::writeOne(const WriteJournal::Record& r, const Planned& p) {
    auto fd = files_.open(r.path, O_RDWR | O_NOFOLLOW, 0);
    if (!fd && FileLayer::refusesWriting(fd.error().code))
        return skipped(r.path, "it cannot be written: " + fd.error().message);
    if (!fd)
        return failed(r.path, fd.error(), "the write journal completes it later");
    FileLayer::Handle handle(files_, fd.value());
    auto status = files_.fstat(handle.fd());
    if (!status)
        return failed(r.path, status.error(), "the write journal completes it later");
    if (status.value().size != r.oldSize)
        return skipped(r.path, "it changed while the batch was being written");

    const std::uint64_t newSize = r.tailOffset + r.tail.size();
    Result<void> written = files_.pwrite(handle.fd(), r.tail, r.tailOffset);
    if (written && newSize < r.oldSize)
        written = files_.ftruncate(handle.fd(), newSize);
    if (!written) {
        // The tail may be half written. Putting the old one back over it needs no new
        // space, so it usually works even on a full disk; the journal still holds the
        // new tail either way.
        if (p.oldTail && files_.pwrite(handle.fd(), *p.oldTail, r.tailOffset) &&
            files_.ftruncate(handle.fd(), r.oldSize))
            return failed(
                r.path, written.error(),
                "the old property list is back in place; the write journal completes the write later");
        return failed(r.path, written.error(), "the write journal completes the write later");
    }
    if (options_.syncEachFile) {
        if (auto synced = files_.fsync(handle.fd()); !synced)
            return failed(r.path, synced.error(), "the write journal completes the write later");
    }
    return {};
}

Result<TailWriter::BatchResult> TailWriter::writeLocked(std::span<const TailWrite> batch,
                                                        const Committed& committed) {
    BatchResult result;
    result.files.resize(batch.size());
    std::vector<WriteJournal::Record> records;
    std::vector<Planned> planned;
    records.reserve(batch.size());
    planned.reserve(batch.size());
    plan(batch, result, records, planned);
    if (records.empty())
        return result;

    if (auto journaled = journal_.commit(records); !journaled)
        return makeError("no message file was changed: " + journaled.error().message, journaled.error().code);
    if (committed) {
        std::vector<std::size_t> entries;
        entries.reserve(planned.size());
        for (const Planned& p : planned)
            entries.push_back(p.index);
        committed(entries);
    }

    bool anyFailed = false;
    for (std::size_t k = 0; k < records.size(); ++k) {
        FileResult& out = result.files[planned[k].index];
        out = writeOne(records[k], planned[k]);
        anyFailed = anyFailed || out.outcome == Outcome::Failed;
    }

    if (anyFailed) {
        result.retired = false;
        platform::Log::line("Message files: " + std::to_string(result.count(Outcome::Failed)) +
                            " property-list writes failed; " + journal_.path().string() +
                            " keeps the batch to complete it later");
        return result;
    }
    if (auto retired = journal_.retire(!options_.syncEachFile); !retired) {
        result.retired = false;
        platform::Log::line(
            "Message files: the batch was written but not retired (it is written again later): " +
            retired.error().message);
    }
    return result;
}

} // namespace mailhost
