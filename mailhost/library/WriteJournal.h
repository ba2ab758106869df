#pragma once

#include "mailhost/library/FileLayer.h"
#include "mailhost/library/RealFileLayer.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace mailhost {

// The write-ahead journal in the library root that makes tail rewrites crash-safe.
//
// It holds at most one batch. A batch is a run of tail records followed by a commit
// record, written at the start of the journal and flushed with one fsync; only then
// are the files touched. After the files are written and flushed the batch is
// retired by emptying the journal. So at any moment after a crash:
//  - no commit record (empty journal, or a batch cut short): no file was touched yet,
//    and the batch is dropped;
//  - a committed batch: some files may hold the new tail, one may hold part of it;
//    replay writes every record's tail again, which is harmless for the files that
//    already have it.
//
// Record layout (integers little-endian):
//     "LJR1"  kind:u8 ('T' tail, 'C' commit)  0:u8[3]  length:u32  body[length]
//     crc:u32 = CRC-32 of kind, padding, length and body
// Tail body:   tailOffset:u64  oldSize:u64  fingerprint:u32  pathLength:u32  path
//              tail bytes (the rest of the body)
// Commit body: recordCount:u32
//
// Replay checks each file before writing: its count line must still put the tail at
// tailOffset, its size must lie between the old and the new size (a write can stop
// anywhere in between), and the fingerprint of the bytes before the tail must match.
// A file that fails these checks was changed by someone else and is skipped with a
// log line; a file that is gone is skipped too.
class WriteJournal {
public:
    static constexpr const char* kFileName = ".lumetta-journal";

    struct Record {
        std::string path;
        std::uint64_t tailOffset = 0;
        std::uint64_t oldSize = 0;
        std::uint32_t fingerprint = 0;
        std::string tail;
    };

    struct Contents {
        std::vector<Record> records;
        bool committed = false;
    };

    struct ReplayReport {
        bool hadBatch = false;
        std::size_t applied = 0;
        std::size_t skipped = 0;
        // Every file the completed batch named: whoever keeps facts about these
        // files elsewhere (the library's index) re-reads them, as the crash may
        // have come between updating those facts and writing the files.
        std::vector<std::string> paths;
    };

    WriteJournal(std::filesystem::path root, FileLayer& files);
    ~WriteJournal();
    WriteJournal(const WriteJournal&) = delete;
    WriteJournal& operator=(const WriteJournal&) = delete;

    // Completes an unretired batch left in `root` by a crash or a failed write, then
    // retires it. Run when the library opens. Fails (keeping the batch for the next
    // try) when a file cannot be written.
    [[nodiscard]] static platform::Result<ReplayReport> replay(const std::filesystem::path& root,
                                                               FileLayer& files = RealFileLayer::instance());

    std::filesystem::path path() const { return root_ / kFileName; }

    // Opens (creating on first use) and locks the journal against writers in other
    // processes for one batch; unlock() ends it.
    [[nodiscard]] platform::Result<void> lock();
    void unlock();

    // With the lock held:
    [[nodiscard]] platform::Result<ReplayReport> replayPending();
    // Writes the batch and flushes it. On failure the journal is emptied again, so
    // the batch can never be replayed.
    [[nodiscard]] platform::Result<void> commit(std::span<const Record> records);
    // Empties the journal, first flushing the file system unless the files were
    // flushed one by one.
    [[nodiscard]] platform::Result<void> retire(bool flushFileSystem);

    static std::string encode(std::span<const Record> records);
    // Reads records up to the first one that is cut short or damaged.
    static Contents decode(std::string_view bytes);

private:
    [[nodiscard]] platform::Result<void> open();
    // Writes one record's tail into its file; false when it was skipped.
    [[nodiscard]] platform::Result<bool> apply(const Record& record);

    std::filesystem::path root_;
    FileLayer& files_;
    int fd_ = -1;
};

} // namespace mailhost
