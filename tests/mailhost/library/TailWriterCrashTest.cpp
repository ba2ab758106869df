#include "mailhost/library/EmlxFile.h"
#include "mailhost/library/TailWriter.h"
#include "mailhost/library/WriteJournal.h"
#include "platform/foundation/Value.h"
#include "support/MessageFileSupport.h"

#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace mailhost;
namespace fs = std::filesystem;

namespace {

constexpr int kFiles = 2000;
constexpr int kBatch = 200;
constexpr int kKills = 30;

// Generation g of file i's property list; the note's length changes with g so tails
// grow and shrink from one write to the next.
platform::Dictionary plistFor(int i, std::int64_t g) {
    platform::Dictionary d = testsupport::clientKeys(i);
    d.set("generation", g);
    d.set("lumettaNote", std::string(static_cast<std::size_t>((g * 53 + i) % 300), 'n'));
    return d;
}

struct Library {
    std::vector<fs::path> paths;
    std::vector<std::uint64_t> tailOffsets;
    // Count line and message: the bytes no write may touch.
    std::vector<std::string> heads;
    std::vector<std::int64_t> generations;
};

// The generation a file's tail claims, or -1.
std::int64_t generationIn(std::string_view bytes) {
    constexpr std::string_view key = "<key>generation</key>\n\t<integer>";
    const std::size_t at = bytes.rfind(key);
    return at == std::string_view::npos ? -1 : std::atoll(bytes.data() + at + key.size());
}

// Rewrites every file, batch after batch, round after round, until killed.
[[noreturn]] void writeUntilKilled(const fs::path& root, const Library& lib) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    TailWriter writer(root);
    for (std::int64_t round = 1;; ++round) {
        for (int first = 0; first < kFiles; first += kBatch) {
            std::vector<TailWrite> batch;
            for (int i = first; i < first + kBatch; ++i)
                batch.push_back({lib.paths[i],
                                 lib.tailOffsets[i],
                                 EmlxFile::tailBytes(plistFor(i, lib.generations[i] + round)).value(),
                                 {}});
            auto result = writer.write(batch);
            if (!result.ok() || result.value().count(TailWriter::Outcome::Written) != batch.size())
                ::_exit(3);
        }
    }
}

// A writer killed at any moment, then the journal replayed: each batch is wholly old
// or wholly new, and no message byte ever changes.
TEST(TailWriterCrash, KilledWriterLeavesEveryBatchWhollyOldOrNew) {
    testsupport::ScratchFolder scratch;
    Library lib;
    for (int i = 0; i < kFiles; ++i) {
        const std::string message =
            testsupport::syntheticMessage(300 + static_cast<std::size_t>(i * 37 % 700), i);
        const fs::path path = scratch.path() / (std::to_string(i + 1) + ".emlx");
        testsupport::writeBytes(path, EmlxFile::compose(message, plistFor(i, 0)).value());
        const EmlxFile file = EmlxFile::read(path).value();
        lib.paths.push_back(path);
        lib.tailOffsets.push_back(file.tailOffset());
        lib.heads.push_back(file.bytes().substr(0, file.tailOffset()));
        lib.generations.push_back(0);
    }

    std::mt19937 random(20240601);
    std::uniform_int_distribution<int> delayMicros(1000, 200000);
    std::int64_t progress = 0;
    for (int kill = 0; kill < kKills; ++kill) {
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0)
            writeUntilKilled(scratch.path(), lib);
        ::usleep(static_cast<useconds_t>(delayMicros(random)));
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status))
            << "the writer stopped by itself with status " << WEXITSTATUS(status);

        auto replayed = WriteJournal::replay(scratch.path());
        ASSERT_TRUE(replayed.ok()) << replayed.error().message;

        std::vector<std::int64_t> advance(kFiles);
        for (int i = 0; i < kFiles; ++i) {
            // Exactly the untouched message followed by the tail of one generation.
            const std::string bytes = RealFileLayer::instance().readWholeFile(lib.paths[i]).value();
            const std::int64_t g = generationIn(bytes);
            ASSERT_EQ(bytes, lib.heads[i] + EmlxFile::tailBytes(plistFor(i, g)).value())
                << lib.paths[i] << " after kill " << kill;
            advance[i] = g - lib.generations[i];
            lib.generations[i] = g;
        }
        // Batches complete in order: a run of batches one round ahead of the rest.
        for (int i = 1; i < kFiles; ++i) {
            if (i % kBatch != 0)
                ASSERT_EQ(advance[i], advance[i - 1]) << "batch torn at file " << i << " after kill " << kill;
            else
                ASSERT_LE(advance[i], advance[i - 1]) << "batches out of order at file " << i;
        }
        ASSERT_LE(advance.front() - advance.back(), 1);
        progress += advance.front();
    }
    // The writer must have been caught mid-work, not only before it began.
    EXPECT_GT(progress, 0);
}

} // namespace
