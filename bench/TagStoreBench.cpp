// The tag store's two bulk costs: fetching the records of many tagged messages for
// the first time (each read from the property list at the end of its file; should
// stay within twice a bare open-read-close loop over the same files), and setting
// one keyword on a large selection through the bulk-change protocol, files written
// through the journal (should manage 10,000 messages a second), with the metadata
// index mirrored as the tags change.
#include "lumetta/startup/CategoryLoader.h"
#include "lumetta/store/BulkTagChange.h"
#include "lumetta/store/MessageTags.h"
#include "lumetta/store/TagKeys.h"
#include "mailhost/HostClasses.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/LibraryMessage.h"
#include "platform/foundation/Value.h"
#include "samples/SampleMailGenerator.h"

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <filesystem>
#include <stdlib.h>
#include <unistd.h>

using namespace mailhost;
namespace fs = std::filesystem;

namespace {

constexpr int kFetched = 20000;
constexpr int kTagged = 10000;

struct TaggedLibrary {
    fs::path root;
    std::unique_ptr<Library> library;
    std::vector<std::string> paths;

    TaggedLibrary() {
        registerHostClasses();
        lumetta::loadCategories();
        char tmpl[] = "/tmp/lumetta-bench-tags-XXXXXX";
        root = ::mkdtemp(tmpl);
        library = Library::open(root, true).value();
        samples::SampleMailGenerator mail;
        Library::BulkAdd batch(*library);
        for (int i = 0; i < kFetched; ++i)
            (void)library->addMessage("INBOX", mail.nextMessage(), 0, 800000000.0 + i);
        (void)batch.commit();
        // Every message carries a typical set of tags in its file.
        lumetta::BulkTagChange change;
        for (const auto& message : library->messagesInMailbox("INBOX")) {
            change.set(message, lumetta::TagKeys::kKeyWords, platform::Array{"Work", "Invoice"});
            change.set(message, lumetta::TagKeys::kProject, "Apollo");
            change.set(message, lumetta::TagKeys::kPriority, 3);
            paths.push_back(static_cast<LibraryMessage&>(*message).path().string());
        }
        change.commit();
    }
    ~TaggedLibrary() {
        library.reset();
        std::error_code ec;
        fs::remove_all(root, ec);
    }
};

TaggedLibrary& tagged() {
    static TaggedLibrary t;
    return t;
}

// The floor: open, read the whole file, close.
void BM_BareReadLoop(benchmark::State& state) {
    const auto& paths = tagged().paths;
    std::vector<char> buffer(1 << 20);
    for (auto _ : state)
        for (const auto& path : paths) {
            const int fd = ::open(path.c_str(), O_RDONLY);
            while (::read(fd, buffer.data(), buffer.size()) > 0) {
            }
            ::close(fd);
        }
    state.counters["files/s"] = benchmark::Counter(static_cast<double>(paths.size() * state.iterations()),
                                                   benchmark::Counter::kIsRate);
}
BENCHMARK(BM_BareReadLoop)->Unit(benchmark::kMillisecond)->UseRealTime();

// First fetch: the objects are made outside the timing and dropped after each pass,
// which drops the records too, so every pass reads every file again.
void BM_FirstFetchOfRecords(benchmark::State& state) {
    Library& library = *tagged().library;
    std::int64_t found = 0;
    for (auto _ : state) {
        state.PauseTiming();
        MessageList messages = library.messagesInMailbox("INBOX");
        state.ResumeTiming();
        for (const auto& message : messages)
            if (auto record = lumetta::MessageTags::lumettaExtraData(*message))
                found += record->contains(lumetta::TagKeys::kKeyWords) ? 1 : 0;
        state.PauseTiming();
        messages.clear();
        state.ResumeTiming();
    }
    if (found != kFetched * state.iterations())
        state.SkipWithError("a record lacked its tags");
    state.counters["records/s"] =
        benchmark::Counter(static_cast<double>(kFetched * state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_FirstFetchOfRecords)->Unit(benchmark::kMillisecond)->UseRealTime();

// One keyword on 10,000 messages: records changed, one notice, one journaled write.
void BM_BulkKeyword(benchmark::State& state) {
    MessageList messages = tagged().library->messagesInMailbox("INBOX");
    messages.resize(kTagged);
    std::int64_t pass = 0;
    for (auto _ : state) {
        lumetta::BulkTagChange change;
        const std::string keyword = "Pass " + std::to_string(++pass);
        for (const auto& message : messages)
            change.set(message, lumetta::TagKeys::kKeyWords, platform::Array{"Work", keyword});
        change.commit();
    }
    state.counters["messages/s"] =
        benchmark::Counter(static_cast<double>(kTagged * state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_BulkKeyword)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3.0);

// Mirroring one message's tags into the metadata index on its own, as a single tag
// edit does (should stay under a millisecond).
void BM_MirrorOneMessage(benchmark::State& state) {
    MessageList messages = tagged().library->messagesInMailbox("INBOX");
    std::size_t next = 0;
    for (auto _ : state) {
        auto& message = *messages[next++ % messages.size()];
        lumetta::MessageTags::lumettaSynchroniseWithSpotlight(message);
    }
    state.counters["messages/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_MirrorOneMessage)->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace
