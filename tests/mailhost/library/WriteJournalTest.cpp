#include "mailhost/library/WriteJournal.h"

#include "mailhost/library/EmlxFile.h"
#include "mailhost/library/TailSite.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/Value.h"
#include "support/GoldenFile.h"
#include "support/MessageFileSupport.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>

using namespace mailhost;
using testsupport::readFile;
namespace fs = std::filesystem;

namespace {

WriteJournal::Record record(std::string path, std::string tail) {
    return {std::move(path), 12345678901ULL, 4096, 0xDEADBEEF, std::move(tail)};
}

// The record format: read back exactly, and nothing is taken from a damaged journal.
TEST(WriteJournalFormat, ReadsBackWhatItWrote) {
    const std::vector<WriteJournal::Record> records = {
        record("/lib/INBOX.mbox/Messages/1.emlx", "<plist/>\n"),
        record(std::string("/odd\0name", 9), std::string("\0\xff tail", 7)),
        record("", ""),
    };
    const auto back = WriteJournal::decode(WriteJournal::encode(records));
    ASSERT_TRUE(back.committed);
    ASSERT_EQ(back.records.size(), records.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(back.records[i].path, records[i].path);
        EXPECT_EQ(back.records[i].tailOffset, records[i].tailOffset);
        EXPECT_EQ(back.records[i].oldSize, records[i].oldSize);
        EXPECT_EQ(back.records[i].fingerprint, records[i].fingerprint);
        EXPECT_EQ(back.records[i].tail, records[i].tail);
    }
}

TEST(WriteJournalFormat, ABatchCutShortOrDamagedAnywhereIsNotCommitted) {
    const std::vector<WriteJournal::Record> records = {record("/a/1.emlx", "first tail"),
                                                       record("/a/2.emlx", "second tail")};
    const std::string bytes = WriteJournal::encode(records);
    for (std::size_t cut = 0; cut < bytes.size(); ++cut)
        EXPECT_FALSE(WriteJournal::decode(bytes.substr(0, cut)).committed) << "cut at " << cut;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        std::string damaged = bytes;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x20);
        EXPECT_FALSE(WriteJournal::decode(damaged).committed) << "damaged at " << at;
    }
    // A commit that counts records other than those before it.
    const std::string alone = WriteJournal::encode(std::span(records).subspan(1));
    EXPECT_FALSE(
        WriteJournal::decode(bytes.substr(0, bytes.size() - 20) + alone.substr(alone.size() - 20)).committed);
}

// Replay: a committed batch is completed whatever state each file is in.
class WriteJournalReplay : public ::testing::Test {
protected:
    struct File {
        fs::path path;
        std::string before;
        WriteJournal::Record record;
    };

    File makeFile(const std::string& name, int seed) {
        File f;
        f.path = scratch_.path() / name;
        f.before = EmlxFile::compose(testsupport::syntheticMessage(600, seed), testsupport::clientKeys(seed))
                       .value();
        testsupport::writeBytes(f.path, f.before);
        const EmlxFile parsed = EmlxFile::parse(f.before).value();
        platform::Dictionary plist = parsed.plist().mutableCopy();
        plist.set("lumettaProject", "Apollo " + std::string(static_cast<std::size_t>(seed) * 40, 'x'));
        const int fd = ::open(f.path.c_str(), O_RDONLY);
        auto site = TailSite::inspect(RealFileLayer::instance(), fd, parsed.tailOffset());
        ::close(fd);
        f.record = {f.path.string(), parsed.tailOffset(), site.value().fileSize, site.value().fingerprint,
                    EmlxFile::tailBytes(plist).value()};
        return f;
    }
    std::string after(const File& f) const { return f.before.substr(0, f.record.tailOffset) + f.record.tail; }

    void commit(const std::vector<File>& files) {
        std::vector<WriteJournal::Record> records;
        for (const File& f : files)
            records.push_back(f.record);
        WriteJournal journal(scratch_.path(), RealFileLayer::instance());
        ASSERT_TRUE(journal.lock().ok());
        ASSERT_TRUE(journal.commit(records).ok());
        journal.unlock();
    }
    std::uintmax_t journalSize() const { return fs::file_size(scratch_.path() / WriteJournal::kFileName); }

    testsupport::ScratchFolder scratch_;
};

TEST_F(WriteJournalReplay, CompletesEveryFileOfACommittedBatch) {
    File untouched = makeFile("1.emlx", 1);
    File done = makeFile("2.emlx", 2);
    File grownPart = makeFile("3.emlx", 3);
    File shrunkPart = makeFile("4.emlx", 0);
    shrunkPart.record.tail = shrunkPart.record.tail.substr(0, 200) + "</dict></plist>\n";
    commit({untouched, done, grownPart, shrunkPart});

    testsupport::writeBytes(done.path, after(done));
    // Stopped mid-write: more than the old tail written, or a shorter tail written
    // but the file not yet cut.
    testsupport::writeBytes(grownPart.path, after(grownPart).substr(0, grownPart.before.size() + 10));
    std::string notCut = shrunkPart.before;
    notCut.replace(shrunkPart.record.tailOffset, shrunkPart.record.tail.size(), shrunkPart.record.tail);
    testsupport::writeBytes(shrunkPart.path, notCut);

    for (int run = 0; run < 2; ++run) {
        auto report = WriteJournal::replay(scratch_.path());
        ASSERT_TRUE(report.ok()) << report.error().message;
        EXPECT_EQ(report.value().hadBatch, run == 0);
        EXPECT_EQ(report.value().applied, run == 0 ? 4u : 0u);
        for (const File* f : {&untouched, &done, &grownPart, &shrunkPart})
            EXPECT_EQ(readFile(f->path), after(*f)) << f->path;
        EXPECT_EQ(journalSize(), 0u);
    }
}

TEST_F(WriteJournalReplay, LeavesAloneFilesChangedBySomeoneElse) {
    File replaced = makeFile("1.emlx", 1);  // a different message under the same name
    File rewritten = makeFile("2.emlx", 2); // same message, another writer's longer tail
    File gone = makeFile("3.emlx", 3);
    File fine = makeFile("4.emlx", 4);
    commit({replaced, rewritten, gone, fine});

    const std::string other = makeFile("1.emlx", 9).before; // written over the first
    const std::string foreign = rewritten.before + std::string(2000, ' ');
    testsupport::writeBytes(rewritten.path, foreign);
    fs::remove(gone.path);

    platform::ScopedLogCapture log;
    auto report = WriteJournal::replay(scratch_.path());
    ASSERT_TRUE(report.ok()) << report.error().message;
    EXPECT_EQ(report.value().applied, 1u);
    EXPECT_EQ(report.value().skipped, 3u);
    EXPECT_EQ(readFile(replaced.path), other);
    EXPECT_EQ(readFile(rewritten.path), foreign);
    EXPECT_FALSE(fs::exists(gone.path));
    EXPECT_EQ(readFile(fine.path), after(fine));
    for (const File* f : {&replaced, &rewritten, &gone})
        EXPECT_TRUE(log.contains(f->path.string())) << f->path;
}

TEST_F(WriteJournalReplay, DropsABatchThatWasNeverCommitted) {
    File f = makeFile("1.emlx", 1);
    const std::string bytes = WriteJournal::encode(std::span(&f.record, 1));
    testsupport::writeBytes(scratch_.path() / WriteJournal::kFileName, bytes.substr(0, bytes.size() - 1));
    auto report = WriteJournal::replay(scratch_.path());
    ASSERT_TRUE(report.ok());
    EXPECT_FALSE(report.value().hadBatch);
    EXPECT_EQ(readFile(f.path), f.before);
    EXPECT_EQ(journalSize(), 0u);
}

// A link in the journal's place, pointing at a file or at nothing, is refused: a
// batch written through it would land, and be emptied again, wherever it points.
TEST_F(WriteJournalReplay, RefusesAJournalThatIsALink) {
    const fs::path journal = scratch_.path() / WriteJournal::kFileName;
    const fs::path outside = scratch_.path() / "outside.txt";
    File f = makeFile("1.emlx", 1);
    for (const bool targetExists : {true, false}) {
        SCOPED_TRACE(targetExists ? "link to a file" : "dangling link");
        fs::remove(outside);
        if (targetExists)
            testsupport::writeBytes(outside, "someone else's file\n");
        fs::remove(journal);
        fs::create_symlink(outside, journal);

        WriteJournal writer(scratch_.path(), RealFileLayer::instance());
        auto locked = writer.lock();
        ASSERT_FALSE(locked.ok());
        EXPECT_EQ(locked.error().code, ELOOP);
        EXPECT_NE(locked.error().message.find(journal.string() + ": cannot open: it is a symbolic link"),
                  std::string::npos)
            << locked.error().message;
        EXPECT_FALSE(WriteJournal::replay(scratch_.path()).ok());
        EXPECT_EQ(fs::exists(outside), targetExists);
        if (targetExists) {
            EXPECT_EQ(readFile(outside), "someone else's file\n");
        }
        EXPECT_EQ(readFile(f.path), f.before);
    }
}

TEST_F(WriteJournalReplay, CreatesNoJournalWhereThereIsNone) {
    auto report = WriteJournal::replay(scratch_.path());
    ASSERT_TRUE(report.ok());
    EXPECT_FALSE(report.value().hadBatch);
    EXPECT_FALSE(fs::exists(scratch_.path() / WriteJournal::kFileName));
}

} // namespace
