// The calendar store's part of the refresh: which of 5,000 to-dos on disk changed since
// a date. The whole round trip through events should stay under 200 ms, so the store
// should answer well below that, both after a start (every file read, the changed ones
// parsed) and on the next refresh (unchanged files only looked at). Two bare loops over
// the same files show the floor the file system sets.
#include "LinkedToDoStore.h"
#include "calendarapp/store/ToDoStore.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <filesystem>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace calendarapp;
namespace fs = std::filesystem;

namespace {

constexpr int kToDos = 5000;
constexpr int kRecentlyChanged = 50;
const platform::Date kLastRefresh = platform::Date::fromUnix(1709290800.0); // 2024-03-01 11:00 UTC

// Two calendars of linked to-dos as the plug-in makes them; all but a few last changed
// long before the last refresh.
struct StoreOnDisk {
    fs::path root;

    StoreOnDisk() {
        char tmpl[] = "/tmp/lumetta-bench-calendar-XXXXXX";
        root = ::mkdtemp(tmpl);
        bench::fillLinkedToDoStore(root, kToDos, kRecentlyChanged, kLastRefresh);
    }
    ~StoreOnDisk() {
        std::error_code ec;
        fs::remove_all(root, ec);
    }
};

StoreOnDisk& storeOnDisk() {
    static StoreOnDisk shared;
    return shared;
}

void check(benchmark::State& state, const platform::Result<ToDoListing>& answer) {
    if (!answer || answer.value().toDos.size() != kRecentlyChanged || !answer.value().skipped.empty())
        state.SkipWithError("the query did not find exactly the recently changed to-dos");
}

// The first query after the application starts: every file is read.
void BM_ModifiedSinceAfterStart(benchmark::State& state) {
    const fs::path root = storeOnDisk().root;
    for (auto _ : state) {
        ToDoStore store(root);
        auto answer = store.toDosModifiedSince(kLastRefresh);
        check(state, answer);
        benchmark::DoNotOptimize(answer);
    }
}
BENCHMARK(BM_ModifiedSinceAfterStart)->Unit(benchmark::kMillisecond)->UseRealTime();

// Later queries of the running application: unchanged files are only looked at.
void BM_ModifiedSinceRunning(benchmark::State& state) {
    ToDoStore store(storeOnDisk().root);
    (void)store.allToDos();
    for (auto _ : state) {
        auto answer = store.toDosModifiedSince(kLastRefresh);
        check(state, answer);
        benchmark::DoNotOptimize(answer);
    }
}
BENCHMARK(BM_ModifiedSinceRunning)->Unit(benchmark::kMillisecond)->UseRealTime();

// The floors the two figures above compare with: reading every item file, and looking
// at every item file, with nothing else done.
void BM_ReadEveryFileOnly(benchmark::State& state) {
    const fs::path root = storeOnDisk().root;
    std::string bytes(65536, '\0');
    for (auto _ : state) {
        for (const auto& entry : fs::recursive_directory_iterator(root)) {
            const int fd = ::open(entry.path().c_str(), O_RDONLY | O_CLOEXEC);
            struct stat info {};
            ::fstat(fd, &info);
            benchmark::DoNotOptimize(::read(fd, bytes.data(), bytes.size()));
            ::close(fd);
        }
    }
}
BENCHMARK(BM_ReadEveryFileOnly)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_LookAtEveryFileOnly(benchmark::State& state) {
    const fs::path root = storeOnDisk().root;
    for (auto _ : state) {
        for (const auto& entry : fs::recursive_directory_iterator(root)) {
            struct stat info {};
            benchmark::DoNotOptimize(::stat(entry.path().c_str(), &info));
        }
    }
}
BENCHMARK(BM_LookAtEveryFileOnly)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
