#include "mailhost/HostClasses.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/Library.h"
#include "platform/foundation/Value.h"

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <poll.h>
#include <random>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace mailhost;
namespace fs = std::filesystem;

namespace {

constexpr int kMessages = 2000;
constexpr int kGroups = 8; // one updateMessageFiles call each
constexpr int kGroupSize = kMessages / kGroups;
constexpr int kKills = 20;

// The generation lives in the high half of the flag word; the low half holds the
// message's own flags, which no write may change.
constexpr std::uint64_t generationFlags(std::int64_t generation, std::uint64_t low) {
    return (static_cast<std::uint64_t>(generation) << 32) | low;
}

std::uint64_t lowFlags(int i) {
    return (i % 3 == 0 ? 1u : 0u) | (i % 5 == 0 ? 16u : 0u);
}

std::string messageText(int i) {
    std::string text = "From: Sender " + std::to_string(i) + " <s" + std::to_string(i) +
                       "@example.org>\nTo: reader@example.net\nSubject: Crash test " + std::to_string(i) +
                       "\nMessage-ID: <crash-" + std::to_string(i) + "@example.org>\n\n";
    for (int line = 0; line < 3 + i % 17; ++line)
        text += "Line " + std::to_string(line) + " of a message that must never change.\n";
    return text;
}

struct Corpus {
    fs::path root;
    std::vector<std::int64_t> rowids;
    std::vector<fs::path> paths;
    // Count line and message: the bytes no flag write may touch.
    std::vector<std::string> heads;
    // How many writes of the sequence have landed.
    std::int64_t writes = 0;
};

// The writes form one sequence across all writers: write w gives the messages of
// group w % kGroups generation w / kGroups + 1. After the first n writes, group g has
// had this many, which is also its generation.
std::int64_t generationAfter(std::int64_t writes, int group) {
    return writes > group ? (writes - 1 - group) / kGroups + 1 : 0;
}

// Goes on with the sequence from write `next`, through the library's write path,
// until killed. Reports on `progress`: "!" once the library is open and the messages
// are loaded, then "+" each time updateMessageFiles has returned.
[[noreturn]] void writeUntilKilled(const Corpus& corpus, std::int64_t next, int progress) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    auto library = Library::open(corpus.root, false);
    if (!library)
        ::_exit(3);
    MessageList groups[kGroups];
    for (int i = 0; i < kMessages; ++i) {
        auto message = library.value()->message(corpus.rowids[i]);
        if (!message)
            ::_exit(4);
        groups[i / kGroupSize].push_back(std::move(message));
    }
    if (::write(progress, "!", 1) != 1)
        ::_exit(5);
    for (std::int64_t w = next;; ++w) {
        const int g = static_cast<int>(w % kGroups);
        for (int k = 0; k < kGroupSize; ++k)
            groups[g][k]->setFlags(generationFlags(w / kGroups + 1, lowFlags(g * kGroupSize + k)));
        Library::flagsChangedForMessages(groups[g]);
        Library::updateMessageFiles(nullptr);
        if (::write(progress, "+", 1) != 1)
            ::_exit(5);
    }
}

// Reads the writer's reports until `wanted` bytes have come or it has gone quiet for
// a minute; the bytes read.
std::string awaitReports(int progress, std::size_t wanted) {
    std::string reports;
    char byte = 0;
    pollfd wait{progress, POLLIN, 0};
    while (reports.size() < wanted && ::poll(&wait, 1, 60000) == 1 && ::read(progress, &byte, 1) == 1)
        reports += byte;
    return reports;
}

// Opens the library (finishing any interrupted write) and checks every file against
// what a killed writer may leave: the message untouched, a whole property list, the
// message's own flags kept, one generation across each group, and the writes that
// landed exactly the first ones of the sequence, including every write whose call had
// returned (`returned`). Records how many landed.
void checkAfterKill(Corpus& corpus, int kill, std::int64_t returned) {
    auto library = Library::open(corpus.root, false);
    ASSERT_TRUE(library.ok()) << library.error().message;
    std::int64_t seen[kGroups] = {};
    std::vector<std::int64_t> indexed(kMessages);
    for (int i = 0; i < kMessages; ++i) {
        const fs::path& path = corpus.paths[i];
        auto file = EmlxFile::read(path);
        ASSERT_TRUE(file.ok()) << path << " after kill " << kill << ": " << file.error().message;
        ASSERT_TRUE(file.value().ok()) << path << " after kill " << kill << ": " << file.value().problem();
        ASSERT_EQ(file.value().bytes().substr(0, file.value().tailOffset()), corpus.heads[i])
            << path << " after kill " << kill;
        const platform::Dictionary plist = file.value().plist();
        ASSERT_TRUE(plist.contains("date-received")) << path;
        const std::uint64_t flags = plist.get("flags").unsignedValue();
        ASSERT_EQ(flags & 0xFFFFFFFFu, lowFlags(i)) << path;
        const auto generation = static_cast<std::int64_t>(flags >> 32);
        const int group = i / kGroupSize;
        if (i % kGroupSize == 0)
            seen[group] = generation;
        ASSERT_EQ(generation, seen[group])
            << "group " << group << " torn at " << path << " after kill " << kill;
        auto envelope = library.value()->index().message(corpus.rowids[i]);
        ASSERT_TRUE(envelope);
        indexed[i] = static_cast<std::int64_t>(envelope->flags >> 32);
    }
    std::int64_t writes = 0;
    for (std::int64_t g : seen)
        writes += g;
    ASSERT_GE(writes, corpus.writes + returned) << "writes that had returned were lost after kill " << kill;
    for (int g = 0; g < kGroups; ++g)
        ASSERT_EQ(seen[g], generationAfter(writes, g))
            << "group " << g << " out of order after kill " << kill;
    // The index never disagrees with the files, whatever the kill interrupted.
    for (int i = 0; i < kMessages; ++i)
        ASSERT_EQ(indexed[i], seen[i / kGroupSize]) << corpus.paths[i] << " after kill " << kill;
    corpus.writes = writes;
}

// A writer killed at any moment of updateMessageFiles (or of reopening the library),
// then the library opened again: no message byte changed, every property list is
// whole, and the flag writes that landed are exactly the first ones issued.
TEST(UpdateMessageFilesCrash, KilledWriterLosesNothing) {
    registerHostClasses();
    Corpus corpus;
    char tmpl[] = "/tmp/lumetta-update-crash-XXXXXX";
    corpus.root = ::mkdtemp(tmpl);
    struct Cleanup {
        const fs::path& root;
        ~Cleanup() {
            std::error_code ec;
            fs::remove_all(root, ec);
        }
    } cleanup{corpus.root};
    {
        auto library = Library::open(corpus.root, true);
        ASSERT_TRUE(library.ok()) << library.error().message;
        Library::BulkAdd batch(*library.value());
        for (int i = 0; i < kMessages; ++i) {
            auto added = library.value()->addMessage("INBOX", messageText(i), lowFlags(i), 800000000.0 + i);
            ASSERT_TRUE(added.ok()) << added.error().message;
            corpus.rowids.push_back(added.value()->libraryID());
            corpus.paths.push_back(added.value()->path());
        }
        ASSERT_TRUE(batch.commit().ok());
        for (const auto& path : corpus.paths) {
            auto file = EmlxFile::read(path);
            ASSERT_TRUE(file.ok() && file.value().ok()) << path;
            corpus.heads.push_back(file.value().bytes().substr(0, file.value().tailOffset()));
        }
    }

    std::mt19937 random(20240917);
    std::uniform_int_distribution<int> delayMillis(1, 150);
    for (int kill = 0; kill < kKills; ++kill) {
        int progress[2];
        ASSERT_EQ(::pipe(progress), 0);
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::close(progress[0]);
            writeUntilKilled(corpus, corpus.writes, progress[1]);
        }
        ::close(progress[1]);
        // The kill lands at a random moment after a starting point that varies: the
        // fork (it may hit the library opening and finishing what the previous kill
        // interrupted), the writer ready (its first write), or its first write done.
        const std::size_t awaited = kill % 4 == 3 ? 0 : kill % 4 == 1 ? 1 : 2;
        std::string reports = awaitReports(progress[0], awaited);
        const bool started = reports.size() == awaited;
        if (started)
            ::usleep(static_cast<useconds_t>(delayMillis(random)) * 1000);
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(started) << "the writer did not get going";
        ASSERT_TRUE(WIFSIGNALED(status))
            << "the writer stopped by itself with status " << WEXITSTATUS(status);
        reports += awaitReports(progress[0], SIZE_MAX);
        ::close(progress[0]);
        const auto completed = static_cast<std::int64_t>(std::count(reports.begin(), reports.end(), '+'));
        checkAfterKill(corpus, kill, completed);
        if (HasFatalFailure())
            return;
    }
}

} // namespace
