// The library's two bulk write paths, end to end through the host classes: an import
// (an mbox read message by message and stored in batches, as `lumetta import` does),
// which should manage 2,000 messages a second; and saving the flags of a large
// selection with updateMessageFiles (the cost of marking or tagging thousands of
// messages at once), which should manage 20,000 files a second.
#include "mailhost/HostClasses.h"
#include "mailhost/import/MessageSource.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/Library.h"
#include "platform/foundation/Value.h"
#include "samples/SampleMailGenerator.h"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdlib.h>
#include <string>

using namespace mailhost;
namespace fs = std::filesystem;

namespace {

constexpr int kImported = 20000;
constexpr int kFlagged = 10000;
constexpr int kBatch = 1000;

// A scratch folder for the run, removed at exit.
struct Scratch {
    fs::path root;
    Scratch() {
        char tmpl[] = "/tmp/lumetta-bench-library-XXXXXX";
        root = ::mkdtemp(tmpl);
    }
    ~Scratch() {
        std::error_code ec;
        fs::remove_all(root, ec);
    }
};

Scratch& scratch() {
    static Scratch s;
    return s;
}

// The archive, written once per run.
const fs::path& archive() {
    static const fs::path path = [] {
        const fs::path p = scratch().root / "Archive.mbox";
        std::ofstream out(p, std::ios::binary);
        samples::SampleMailGenerator().writeMbox(out, kImported);
        return p;
    }();
    return path;
}

// Reads the archive into `library`'s INBOX in batches, as the import command does;
// the number of messages stored, or -1 after reporting an error.
std::int64_t importArchive(benchmark::State& state, Library& library, std::int64_t limit) {
    auto source = MessageSource::open(archive());
    if (!source) {
        state.SkipWithError(source.error().message.c_str());
        return -1;
    }
    std::int64_t stored = 0;
    auto batch = std::make_unique<Library::BulkAdd>(library);
    ImportedMessage m;
    while (stored < limit) {
        auto next = source.value()->next(m);
        if (!next || !next.value())
            break;
        const double received = m.receivedDate ? m.receivedDate->seconds : 0;
        if (auto added = library.addMessage("INBOX", m.bytes, 0, received); !added) {
            state.SkipWithError(added.error().message.c_str());
            return -1;
        }
        if (++stored % kBatch == 0) {
            if (auto committed = batch->commit(); !committed) {
                state.SkipWithError(committed.error().message.c_str());
                return -1;
            }
            batch = std::make_unique<Library::BulkAdd>(library);
        }
    }
    if (auto committed = batch->commit(); !committed) {
        state.SkipWithError(committed.error().message.c_str());
        return -1;
    }
    return stored;
}

void BM_ImportArchive(benchmark::State& state) {
    registerHostClasses();
    archive();
    std::int64_t messages = 0;
    int run = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const fs::path root = scratch().root / ("Import-" + std::to_string(run++));
        auto library = Library::open(root, true);
        if (!library) {
            state.SkipWithError(library.error().message.c_str());
            break;
        }
        state.ResumeTiming();
        const std::int64_t stored = importArchive(state, *library.value(), kImported);
        state.PauseTiming();
        library.value().reset();
        std::error_code ec;
        fs::remove_all(root, ec);
        state.ResumeTiming();
        if (stored < 0)
            break;
        messages += stored;
    }
    state.SetItemsProcessed(messages);
    state.counters["messages/s"] =
        benchmark::Counter(static_cast<double>(messages), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ImportArchive)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);

void BM_UpdateMessageFiles(benchmark::State& state) {
    registerHostClasses();
    auto library = Library::open(scratch().root / "Flags", true);
    if (!library) {
        state.SkipWithError(library.error().message.c_str());
        return;
    }
    if (importArchive(state, *library.value(), kFlagged) != kFlagged) {
        state.SkipWithError("the archive has too few messages");
        return;
    }
    const MessageList messages = library.value()->messagesInMailbox("INBOX");
    std::int64_t files = 0;
    std::uint64_t pass = 0;
    for (auto _ : state) {
        // Every pass really changes every message: flagged on, then off again.
        ++pass;
        for (const auto& m : messages)
            m->setFlags((m->flags() & ~std::uint64_t{16}) | (pass % 2 ? 16u : 0u));
        Library::flagsChangedForMessages(messages);
        Library::updateMessageFiles(nullptr);
        files += static_cast<std::int64_t>(messages.size());
    }
    // A write that failed only shows in the log: check that the last pass landed.
    for (const auto& m : {messages.front(), messages.back()}) {
        auto file = EmlxFile::read(static_cast<LibraryMessage&>(*m).path());
        if (!file || file.value().plist().get("flags").unsignedValue() != m->flags())
            state.SkipWithError("updateMessageFiles did not save the flags");
    }
    state.SetItemsProcessed(files);
    state.counters["files/s"] = benchmark::Counter(static_cast<double>(files), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_UpdateMessageFiles)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3.0);

} // namespace
