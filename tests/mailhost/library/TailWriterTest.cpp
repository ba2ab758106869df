#include "mailhost/library/TailWriter.h"

#include "mailhost/library/EmlxFile.h"
#include "support/FaultyFileLayer.h"
#include "mailhost/library/TailSite.h"
#include "mailhost/library/WriteJournal.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/Value.h"
#include "support/GoldenFile.h"
#include "support/MessageFileSupport.h"

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace mailhost;
using platform::Dictionary;
using platform::Value;
using testsupport::readFile;
using Call = FaultyFileLayer::Call;
using Outcome = TailWriter::Outcome;
namespace fs = std::filesystem;

namespace {

mode_t modeOf(const fs::path& path) {
    struct stat st {};
    ::stat(path.c_str(), &st);
    return st.st_mode & 07777;
}

class TailWriterTest : public ::testing::Test {
protected:
    // Three synthetic message files; their new tails add a tag, except the first,
    // which drops keys so the file shrinks.
    void SetUp() override {
        for (int i = 0; i < 3; ++i) {
            const fs::path path = root() / (std::to_string(i + 1) + ".emlx");
            testsupport::writeBytes(
                path, EmlxFile::compose(testsupport::syntheticMessage(2000, i), testsupport::clientKeys(i))
                          .value());
            paths_.push_back(path);
            before_.push_back(readFile(path));
        }
    }

    const fs::path& root() const { return scratch_.path(); }

    std::vector<TailWrite> newTails() const {
        std::vector<TailWrite> batch;
        for (std::size_t i = 0; i < paths_.size(); ++i) {
            auto file = EmlxFile::parse(before_[i]).value();
            Dictionary plist = file.plist().mutableCopy();
            if (i == 0) {
                plist.remove("color");
                plist.remove("remote-id");
            } else {
                plist.set("lumettaKeyWords", platform::Array{"Invoice", "Project " + std::to_string(i)});
            }
            batch.push_back({paths_[i], file.tailOffset(), EmlxFile::tailBytes(plist).value(), {}});
        }
        return batch;
    }

    void expectOld(std::size_t i) const { EXPECT_EQ(readFile(paths_[i]), before_[i]) << paths_[i]; }
    void expectNew(std::size_t i, const std::vector<TailWrite>& batch) const {
        const std::string now = readFile(paths_[i]);
        EXPECT_EQ(now, before_[i].substr(0, batch[i].tailOffset) + batch[i].tail) << paths_[i];
    }
    std::uintmax_t journalSize() const { return fs::file_size(root() / WriteJournal::kFileName); }

    testsupport::ScratchFolder scratch_;
    std::vector<fs::path> paths_;
    std::vector<std::string> before_;
};

// Genuine files: only the property list changes, and every key of the client's stays.
TEST(TailWriterReal, RewritesEachGenuineTailKeepingMessageBytesAndClientKeys) {
    testsupport::ScratchFolder scratch;
    TailWriter writer(scratch.path());
    for (const fs::path& original : testsupport::realMessageFiles()) {
        SCOPED_TRACE(original.filename());
        const fs::path copy = scratch.path() / original.filename();
        fs::copy_file(original, copy);
        ::chmod(copy.c_str(), 0640);
        const std::string before = readFile(copy);
        auto file = EmlxFile::read(copy);
        ASSERT_TRUE(file.ok());

        Dictionary plist = file.value().plist().mutableCopy();
        plist.set("lumettaKeyWords", platform::Array{"Invoice"});
        const TailWrite w{copy, file.value().tailOffset(), EmlxFile::tailBytes(plist).value(), {}};
        auto written = writer.write(std::span(&w, 1));
        ASSERT_TRUE(written.ok()) << written.error().message;

        if (file.value().condition() == EmlxFile::Condition::Truncated) {
            EXPECT_EQ(written.value().files[0].outcome, Outcome::Skipped);
            EXPECT_EQ(readFile(copy), before);
            continue;
        }
        EXPECT_EQ(written.value().files[0].outcome, Outcome::Written)
            << written.value().files[0].error.message;
        auto after = EmlxFile::read(copy);
        ASSERT_TRUE(after.ok() && after.value().ok());
        EXPECT_EQ(after.value().bytes().substr(0, w.tailOffset), before.substr(0, w.tailOffset));
        for (const auto& [key, value] : file.value().plist().entries())
            EXPECT_TRUE(after.value().plist().get(key).isEqual(value)) << key;
        EXPECT_EQ(after.value().plist().get("lumettaKeyWords").array()->count(), 1u);
        EXPECT_EQ(modeOf(copy), 0640u);
    }
    EXPECT_EQ(fs::file_size(scratch.path() / WriteJournal::kFileName), 0u);
}

// A batch: every file gets its new tail, growing or shrinking, and the journal is retired.
TEST_F(TailWriterTest, WritesEveryTailOfABatchAndRetiresTheJournal) {
    const auto batch = newTails();
    ASSERT_LT(batch[0].tail.size(), before_[0].size() - batch[0].tailOffset);
    ASSERT_GT(batch[1].tail.size(), before_[1].size() - batch[1].tailOffset);
    for (bool syncEachFile : {false, true}) {
        TailWriter writer(root(), RealFileLayer::instance(), {syncEachFile});
        auto result = writer.write(batch);
        ASSERT_TRUE(result.ok()) << result.error().message;
        EXPECT_EQ(result.value().count(Outcome::Written), 3u);
        EXPECT_TRUE(result.value().retired);
        for (std::size_t i = 0; i < 3; ++i)
            expectNew(i, batch);
        EXPECT_EQ(journalSize(), 0u);
    }
}

// Files that are not as the batch describes them are left alone.
TEST_F(TailWriterTest, LeavesAloneFilesThatAreNotAsDescribed) {
    platform::ScopedLogCapture log;
    auto batch = newTails();
    batch[0].tailOffset -= 1;  // the count line says otherwise
    fs::remove(paths_[1]);     // gone
    batch.push_back(batch[2]); // a later entry wins
    batch.back().tail = newTails()[2].tail + "<!-- -->\n";
    TailWriter writer(root());
    auto result = writer.write(batch);
    ASSERT_TRUE(result.ok());
    const auto& files = result.value().files;
    EXPECT_EQ(files[0].outcome, Outcome::Skipped);
    EXPECT_EQ(files[1].outcome, Outcome::Skipped);
    EXPECT_EQ(files[2].outcome, Outcome::Skipped);
    EXPECT_EQ(files[3].outcome, Outcome::Written);
    expectOld(0);
    EXPECT_EQ(readFile(paths_[2]), before_[2].substr(0, batch[3].tailOffset) + batch[3].tail);
    EXPECT_TRUE(log.contains(paths_[0].string()));
}

// A message file replaced by a link: the file it points to, outside the library,
// is neither read nor written, whether the writer opens the file itself or the
// caller read it just before the link was planted.
TEST_F(TailWriterTest, NeverWritesThroughALinkInAMessageFilesPlace) {
    const fs::path outside = root() / "outside.txt";
    for (const bool described : {false, true}) {
        SCOPED_TRACE(described ? "described by the caller" : "opened by the writer");
        testsupport::writeBytes(outside, before_[1]);
        auto batch = newTails();
        if (described)
            batch[1].site = TailSite::ofBytes(before_[1], batch[1].tailOffset).value();
        fs::remove(paths_[1]);
        fs::create_symlink(outside, paths_[1]);
        auto result = TailWriter(root()).write(batch);
        ASSERT_TRUE(result.ok()) << result.error().message;
        EXPECT_EQ(result.value().files[1].outcome, Outcome::Skipped);
        EXPECT_NE(result.value().files[1].error.message.find("symbolic link"), std::string::npos)
            << result.value().files[1].error.message;
        EXPECT_EQ(readFile(outside), before_[1]);
        EXPECT_TRUE(fs::is_symlink(paths_[1]));
        expectNew(2, batch);
        fs::remove(paths_[1]);
        for (std::size_t i = 0; i < paths_.size(); ++i)
            testsupport::writeBytes(paths_[i], before_[i]);
    }
    fs::remove(paths_[0]);
    fs::create_symlink(outside, paths_[0]);
    const auto read = RealFileLayer::instance().readWholeFile(paths_[0]);
    ASSERT_FALSE(read.ok());
    EXPECT_EQ(read.error().code, ELOOP);
    EXPECT_NE(read.error().message.find(paths_[0].string() + ": cannot open: it is a symbolic link"),
              std::string::npos)
        << read.error().message;
}

// A full or failing disk while the journal is written: nothing changes.
// A writer that already holds the bytes describes the file itself: the description
// must match what a replay checks, or a crash would leave such a batch undone.
TEST_F(TailWriterTest, CallerDescriptionMatchesTheFileAndGoesStaleWhenTheFileChanges) {
    std::vector<fs::path> files = paths_;
    for (const fs::path& real : testsupport::realMessageFiles())
        files.push_back(real);
    for (const fs::path& path : files) {
        SCOPED_TRACE(path.filename());
        auto file = EmlxFile::read(path);
        if (!file.ok() || file.value().condition() == EmlxFile::Condition::Truncated)
            continue;
        auto fromBytes = TailSite::ofBytes(file.value().bytes(), file.value().tailOffset(), 1 << 20);
        FileLayer::Handle handle(RealFileLayer::instance(),
                                 RealFileLayer::instance().open(path, O_RDONLY, 0).value());
        auto inspected =
            TailSite::inspect(RealFileLayer::instance(), handle.fd(), file.value().tailOffset(), 1 << 20);
        ASSERT_TRUE(fromBytes.ok() && inspected.ok());
        EXPECT_EQ(fromBytes.value().fingerprint, inspected.value().fingerprint);
        EXPECT_EQ(fromBytes.value().fileSize, inspected.value().fileSize);
        EXPECT_EQ(fromBytes.value().oldTail, inspected.value().oldTail);
        EXPECT_FALSE(TailSite::ofBytes(file.value().bytes(), file.value().tailOffset() - 1).ok());
    }

    auto batch = newTails();
    for (std::size_t i = 0; i < batch.size(); ++i)
        batch[i].site = TailSite::ofBytes(before_[i], batch[i].tailOffset).value();
    testsupport::writeBytes(paths_[1], before_[1] + "\n"); // changed after the caller read it
    auto result = TailWriter(root()).write(batch);
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result.value().files[1].outcome, Outcome::Skipped);
    EXPECT_EQ(readFile(paths_[1]), before_[1] + "\n");
    expectNew(0, batch);
    expectNew(2, batch);
}

TEST_F(TailWriterTest, JournalFailureChangesNothing) {
    struct Fault {
        Call call;
        int error;
        std::size_t partial;
    };
    for (const Fault& f : {Fault{Call::Write, ENOSPC, 100}, Fault{Call::Sync, EIO, 0}}) {
        FaultyFileLayer faulty(RealFileLayer::instance());
        TailWriter writer(root(), faulty);
        faulty.failNth(f.call, WriteJournal::kFileName, 1, f.error, f.partial);
        auto result = writer.write(newTails());
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(result.error().code, f.error);
        EXPECT_NE(result.error().message.find("no message file was changed"), std::string::npos);
        for (std::size_t i = 0; i < 3; ++i)
            expectOld(i);
        EXPECT_EQ(journalSize(), 0u);
        auto replayed = WriteJournal::replay(root());
        ASSERT_TRUE(replayed.ok());
        EXPECT_FALSE(replayed.value().hadBatch);
        for (std::size_t i = 0; i < 3; ++i)
            expectOld(i);
    }
}

// A failed file write: the batch stays in the journal and replay completes it.
TEST_F(TailWriterTest, FailedFileWriteKeepsTheBatchForReplay) {
    struct Fault {
        const char* what;
        Call call;
        int error;
        int failures; // consecutive calls on the file that fail
        bool oldTailBack;
    };
    const Fault faults[] = {
        {"write stops short", Call::Write, EIO, 1, true},
        {"disk full while growing", Call::Write, ENOSPC, 1, true},
        {"putting the old tail back fails too", Call::Write, EIO, 2, false},
        {"cutting to the new size fails", Call::Truncate, EIO, 1, true},
    };
    for (const Fault& f : faults) {
        SCOPED_TRACE(f.what);
        paths_.clear();
        before_.clear();
        SetUp();
        const auto batch = newTails();
        // The file that shrinks is the only one cut to size.
        const std::size_t victim = f.call == Call::Truncate ? 0 : 1;
        FaultyFileLayer faulty(RealFileLayer::instance());
        // The first failure leaves all but the end of the new tail behind; a second
        // one (putting the old tail back) writes nothing.
        for (int n = 1; n <= f.failures; ++n)
            faulty.failNth(f.call, paths_[victim].filename().string(), 1, f.error,
                           n == 1 ? batch[victim].tail.size() - 5 : 0);
        {
            TailWriter writer(root(), faulty);
            auto result = writer.write(batch);
            ASSERT_TRUE(result.ok()) << result.error().message;
            EXPECT_FALSE(result.value().retired);
            EXPECT_EQ(result.value().files[victim].outcome, Outcome::Failed);
            EXPECT_EQ(result.value().files[victim].error.code, f.error);
            EXPECT_EQ(result.value().count(Outcome::Written), 2u);
            if (f.oldTailBack)
                expectOld(victim);
            else
                EXPECT_FALSE(EmlxFile::read(paths_[victim]).value().ok());
            EXPECT_GT(journalSize(), 0u);
        }
        auto replayed = WriteJournal::replay(root());
        ASSERT_TRUE(replayed.ok()) << replayed.error().message;
        EXPECT_EQ(replayed.value().applied, 3u);
        for (std::size_t i = 0; i < 3; ++i)
            expectNew(i, batch);
        EXPECT_EQ(journalSize(), 0u);
    }
}

TEST_F(TailWriterTest, NextBatchCompletesAnUnfinishedOneFirst) {
    const auto first = newTails();
    FaultyFileLayer faulty(RealFileLayer::instance());
    TailWriter writer(root(), faulty);
    // The journal's first flush commits the batch; the second, of the whole file
    // system, comes before retiring it.
    faulty.failNth(Call::Sync, WriteJournal::kFileName, 2, EIO);
    auto result = writer.write(first);
    ASSERT_TRUE(result.ok());
    EXPECT_FALSE(result.value().retired);

    // While the unfinished batch cannot be completed, no new one starts.
    Dictionary plist = testsupport::clientKeys(7);
    const TailWrite second{paths_[2], first[2].tailOffset, EmlxFile::tailBytes(plist).value(), {}};
    faulty.failNth(Call::Write, paths_[0].filename().string(), 1, EIO);
    auto refused = writer.write(std::span(&second, 1));
    ASSERT_FALSE(refused.ok());
    EXPECT_EQ(refused.error().code, EIO);
    expectNew(2, first);

    auto accepted = writer.write(std::span(&second, 1));
    ASSERT_TRUE(accepted.ok()) << accepted.error().message;
    EXPECT_EQ(accepted.value().files[0].outcome, Outcome::Written);
    expectNew(0, first);
    EXPECT_EQ(readFile(paths_[2]), before_[2].substr(0, second.tailOffset) + second.tail);
    EXPECT_EQ(journalSize(), 0u);
}

// Whole-file writes: all or nothing, permissions kept.
TEST_F(TailWriterTest, WholeFileWriteReplacesAtOnceKeepingPermissions) {
    ::chmod(paths_[0].c_str(), 0640);
    ASSERT_TRUE(RealFileLayer::instance().writeWholeFile(paths_[0], "replaced").ok());
    EXPECT_EQ(readFile(paths_[0]), "replaced");
    EXPECT_EQ(modeOf(paths_[0]), 0640u);

    const fs::path fresh = root() / "new.emlx";
    ASSERT_TRUE(RealFileLayer::instance().writeWholeFile(fresh, "new").ok());
    EXPECT_EQ(modeOf(fresh), 0600u);
}

TEST_F(TailWriterTest, FailedWholeFileWriteLeavesTheOldFile) {
    for (Call call : {Call::Write, Call::Sync, Call::Rename}) {
        FaultyFileLayer faulty(RealFileLayer::instance());
        faulty.failNth(call, "", 1, ENOSPC, 10);
        auto written = faulty.writeWholeFile(paths_[1], "replacement bytes");
        ASSERT_FALSE(written.ok());
        EXPECT_EQ(written.error().code, ENOSPC);
        expectOld(1);
    }
    std::size_t entries = 0;
    for ([[maybe_unused]] const auto& e : fs::directory_iterator(root()))
        ++entries;
    EXPECT_EQ(entries, 3u); // no temporary file left behind
}

} // namespace
