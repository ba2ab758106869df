// Message files in bulk: rewriting the property-list tails of many files through the
// write journal (the cost of tagging a large selection), and reading the property
// lists of many files (the cost of showing tags for a mailbox not yet cached),
// against a bare open-read-close loop over the same files.
#include "mailhost/library/EmlxFile.h"
#include "mailhost/library/TailWriter.h"
#include "platform/foundation/Value.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdlib.h>
#include <unistd.h>

using namespace mailhost;
namespace fs = std::filesystem;

namespace {

constexpr int kMaxFiles = 20000;

platform::Dictionary plistFor(int i) {
    return platform::Dictionary{
        {"color", "000000"},
        {"date-last-viewed", 0},
        {"date-received", 1516985072 + i},
        {"date-sent", 1516985000 + i},
        {"flags", 8623750272LL},
        {"remote-id", std::to_string(50000 + i)},
        {"subject", "Invoice " + std::to_string(i) + " for the Apollo project"},
    };
}

// About 4 KB each: a 3.3 KB message and its property list. Tagged or not, a file
// stays inside one 4 KB block: a tail change that moves the end of a file across a
// block boundary costs the file system a block allocation or release, which on some
// disks (ext4 mounted with discard) is far dearer than the write itself, but is rare
// for real tag changes of a few dozen bytes.
std::string messageFor(int i) {
    std::string m = "From: sender" + std::to_string(i) + "@example.com\nSubject: Invoice " +
                    std::to_string(i) + "\nMessage-Id: <" + std::to_string(i) + "@example.com>\n\n";
    while (m.size() < 3300)
        m += "Lorem ipsum dolor sit amet, consectetur adipiscing elit, sed do eiusmod tempor.\n";
    return m;
}

// The files, made once per run in a temporary folder and removed at exit.
struct Corpus {
    fs::path root;
    std::vector<fs::path> paths;
    std::vector<std::uint64_t> tailOffsets;

    Corpus() {
        char tmpl[] = "/tmp/lumetta-bench-emlx-XXXXXX";
        root = ::mkdtemp(tmpl);
        for (int i = 0; i < kMaxFiles; ++i) {
            const std::string message = messageFor(i);
            paths.push_back(root / (std::to_string(i + 1) + ".emlx"));
            std::ofstream(paths.back(), std::ios::binary) << EmlxFile::compose(message, plistFor(i)).value();
            tailOffsets.push_back(EmlxFile::read(paths.back()).value().tailOffset());
        }
    }
    ~Corpus() {
        std::error_code ec;
        fs::remove_all(root, ec);
    }
};

Corpus& corpus() {
    static Corpus c;
    return c;
}

// Two versions of each file's tail that differ in one key (a tag added or not), so
// every pass really changes every file, growing or shrinking its tail.
std::vector<TailWrite> batchWith(int files, bool tagged) {
    std::vector<TailWrite> batch;
    for (int i = 0; i < files; ++i) {
        platform::Dictionary plist = plistFor(i);
        if (tagged)
            plist.set("lumettaKeyWords", platform::Array{"Invoice", "Paid"});
        batch.push_back({corpus().paths[i], corpus().tailOffsets[i], EmlxFile::tailBytes(plist).value(), {}});
    }
    return batch;
}

void BM_JournaledTailRewrite(benchmark::State& state) {
    const int files = static_cast<int>(state.range(0));
    const bool syncEachFile = state.range(1) != 0;
    const std::vector<TailWrite> batches[2] = {batchWith(files, true), batchWith(files, false)};
    TailWriter writer(corpus().root, RealFileLayer::instance(), {syncEachFile});
    int pass = 0;
    for (auto _ : state) {
        auto result = writer.write(batches[pass++ % 2]);
        if (!result.ok() ||
            result.value().count(TailWriter::Outcome::Written) != static_cast<std::size_t>(files)) {
            state.SkipWithError("a tail write failed");
            break;
        }
    }
    // Leave the files untagged for the read benchmarks.
    if (pass % 2 == 1)
        (void)writer.write(batches[1]);
    state.SetItemsProcessed(state.iterations() * files);
}
BENCHMARK(BM_JournaledTailRewrite)
    ->ArgNames({"files", "fsyncEach"})
    ->Args({10000, 0})
    ->Args({1000, 1})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

void BM_ReadPropertyLists(benchmark::State& state) {
    const int files = static_cast<int>(state.range(0));
    const auto& paths = corpus().paths;
    for (auto _ : state) {
        std::size_t keys = 0;
        for (int i = 0; i < files; ++i) {
            auto file = EmlxFile::read(paths[i]);
            keys += file.ok() ? file.value().plist().count() : 0;
        }
        benchmark::DoNotOptimize(keys);
    }
    state.SetItemsProcessed(state.iterations() * files);
}
BENCHMARK(BM_ReadPropertyLists)->Arg(kMaxFiles)->Unit(benchmark::kMillisecond)->UseRealTime();

// The floor: the same files opened, read whole and closed, nothing parsed.
void BM_BareOpenReadClose(benchmark::State& state) {
    const int files = static_cast<int>(state.range(0));
    const auto& paths = corpus().paths;
    std::vector<char> buffer(64 * 1024);
    for (auto _ : state) {
        std::size_t bytes = 0;
        for (int i = 0; i < files; ++i) {
            const int fd = ::open(paths[i].c_str(), O_RDONLY | O_CLOEXEC);
            for (ssize_t n; (n = ::read(fd, buffer.data(), buffer.size())) > 0;)
                bytes += static_cast<std::size_t>(n);
            ::close(fd);
        }
        benchmark::DoNotOptimize(bytes);
    }
    state.SetItemsProcessed(state.iterations() * files);
}
BENCHMARK(BM_BareOpenReadClose)->Arg(kMaxFiles)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
