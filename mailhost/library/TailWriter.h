#pragma once

#include "mailhost/library/FileLayer.h"
#include "mailhost/library/RealFileLayer.h"
#include "mailhost/library/TailSite.h"
#include "mailhost/library/WriteJournal.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace mailhost {

// One property-list tail to put into one message file.
struct TailWrite {
    std::filesystem::path path;
    // Where the old tail starts (EmlxFile::tailOffset()); the file is refused when
    // its count line no longer says so.
    std::uint64_t tailOffset = 0;
    std::string tail;
    // The file as the caller read it just before, when it did: the writer then
    // does not open and read it a second time to plan the batch. Writing still
    // checks that the file's size is the one described here.
    std::optional<TailSite> site;
};

// Rewrites the property-list tails of many message files at once, crash-safe and
// at little more than the cost of the writes themselves: the new tails go into the
// library's write journal with one flush for the whole batch, then each file's tail
// is overwritten in place and the file cut to its new end; the bytes before the tail
// are never written. See WriteJournal for what a crash leaves and how it is undone.
//
// A batch with a failed file write is not retired: the journal keeps it, the
// file gets its old tail back where that is possible, and the batch is completed
// before the next one starts (or when the library next opens). One writer serves
// one library; calls from several threads take turns, and writers in other
// processes are kept out by the journal's lock.
//
// The journal's lock is the library's write lock. A caller that reads files to
// decide their new tails takes it first (lock()), so that what it read is still
// what the files hold when the batch is written: a tail computed from a file that
// another process changed in between would drop that process's change.
class TailWriter {
public:
    // Old tails up to this size are kept in memory during a batch so that a failed
    // write can put them back; tails are a few hundred bytes in practice.
    static constexpr std::size_t kKeepOldTail = 64 * 1024;

    struct Options {
        // Flush each file after writing it instead of the whole file system once at
        // the end of the batch.
        bool syncEachFile = false;
    };

    enum class Outcome {
        Written,
        // The file is not as described (moved, replaced, truncated, a different
        // tail offset) or a later entry in the batch names it too; left alone.
        Skipped,
        // A read or write failed.
        Failed,
    };

    struct FileResult {
        Outcome outcome = Outcome::Written;
        platform::Error error;
    };

    struct BatchResult {
        // One per entry, in order.
        std::vector<FileResult> files;
        // False when a write failed: the journal still holds the batch.
        bool retired = true;
        std::size_t count(Outcome outcome) const;
    };

    TailWriter(std::filesystem::path root, FileLayer& files = RealFileLayer::instance());
    TailWriter(std::filesystem::path root, FileLayer& files, Options options);

    // Takes the library's write lock, waiting for writers in other processes, and
    // completes a batch an earlier failure left in the journal. Calls nest on one
    // thread; write() inside them does not lock again.
    [[nodiscard]] platform::Result<void> lock();
    void unlock();

    // An error means nothing was written (the journal could not be written, or an
    // earlier unfinished batch could not be completed); otherwise the result says
    // what happened to each file.
    //
    // `committed`, when given, runs once the batch is safe in the journal and before
    // any file is touched, with the positions in `batch` of the entries the journal
    // holds: facts kept elsewhere about the new tails (the flags in the library's
    // index) are saved there then, so they are never ahead of a batch that could
    // still be lost, and a replay names the files whose facts to re-read.
    using Committed = std::function<void(const std::vector<std::size_t>& entries)>;
    [[nodiscard]] platform::Result<BatchResult> write(std::span<const TailWrite> batch,
                                                      const Committed& committed = {});

private:
    struct Planned {
        std::size_t index;
        std::optional<std::string> oldTail;
    };

    [[nodiscard]] platform::Result<BatchResult> writeLocked(std::span<const TailWrite> batch,
                                                            const Committed& committed);
    void plan(std::span<const TailWrite> batch, BatchResult& result,
              std::vector<WriteJournal::Record>& records, std::vector<Planned>& planned);
    FileResult writeOne(const WriteJournal::Record& record, const Planned& planned);

    FileLayer& files_;
    Options options_;
    WriteJournal journal_;
    std::recursive_mutex mutex_;
    int depth_ = 0; // lock() calls of the thread holding mutex_
};

} // namespace mailhost
