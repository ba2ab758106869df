// Queries and tag writes against the metadata index of a large library: 100,000 messages,
// a tenth of them tagged "Work", with subjects, authors, dates and, for a third of them,
// message text. The tag panel's smart lists and the body search run these queries, and a
// tag edit writes the seven tag attributes of one message.
#include "platform/spotlight/MetadataStore.h"
#include "platform/spotlight/query/QueryEvaluator.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <random>
#include <stdlib.h>
#include <string>

using namespace platform;
using namespace platform::spotlight;

namespace {

constexpr int kMessages = 100000;
constexpr int kBatch = 1000;

const char* const kPeople[] = {"Ada Lovelace",
                               "Grace Hopper",
                               "J\u00FCrgen M\u00FCller",
                               "Fran\u00E7oise Ren\u00E9",
                               "Tom\u00E1s O'Brien",
                               "Accounts Payable",
                               "Zephyr CI",
                               "\u00C5sa Lindstr\u00F6m"};
const char* const kTopics[] = {"launch plan",    "budget review",   "design notes",   "Q3 roadmap",
                               "offsite agenda", "vendor contract", "release 2.4",    "bug triage",
                               "hiring loop",    "customer visit",  "security audit", "data migration"};
const char* const kSentences[] = {
    "Here are my notes from today; let me know if I missed anything important. ",
    "Could you review the attached draft before Friday? ",
    "Quick reminder that the deadline moved up by two days. ",
    "I talked to the vendor and they agreed to the new terms, pending legal review. ",
    "The build is green again; the flaky test was a time-zone issue in the fixture. ",
    "Gr\u00FC\u00DFe aus Berlin! Die Unterlagen kommen morgen per Post. ",
    "Merci pour votre message, je reviens vers vous d\u00E8s que possible. ",
};
const char* const kOtherKeywords[] = {"Home", "Travel", "Finance", "Personal", "Later"};

// A fixed seed, so that every run measures the same library.
struct Random {
    std::mt19937 engine{20260325};
    std::uint32_t next() { return static_cast<std::uint32_t>(engine()); }
    template <class T, std::size_t N> const T& pick(const T (&items)[N]) { return items[next() % N]; }
};

std::string pathOf(int n) {
    return "/library/Mailboxes/INBOX.mbox/Messages/" + std::to_string(n) + ".emlx";
}

Result<void> indexMessage(MetadataStore& store, Random& random, int n) {
    Dictionary host{
        {"kMDItemSubject",
         std::string(n % 4 == 0 ? "Re: " : "") + random.pick(kTopics) + " #" + std::to_string(n)},
        {"kMDItemAuthors", Array{random.pick(kPeople)}},
        {"kMDItemRecipients", Array{random.pick(kPeople), random.pick(kPeople)}},
        {"kMDItemContentCreationDate", Date{790000000.0 + n * 97.0}},
    };
    if (n % 3 == 0) {
        std::string text;
        for (int i = 0; i < 6; ++i)
            text += random.pick(kSentences);
        if (random.next() % 10 == 0)
            text += "Please find the invoice for March attached.";
        host.set(std::string(kMDItemTextContent), text);
    }
    if (auto r = store.replaceHostAttributes(pathOf(n), host, {}); !r)
        return r;
    const bool work = n % 10 == 0;
    if (work || random.next() % 4 == 0) {
        const Value keywords =
            work ? Array{"Work", random.pick(kOtherKeywords)} : Array{random.pick(kOtherKeywords)};
        if (auto r = store.setAttribute(pathOf(n), "kMDItemKeywords", keywords); !r)
            return r;
        if (auto r = store.setAttribute(pathOf(n), "kMDItemStarRating", static_cast<int>(random.next() % 6));
            !r)
            return r;
    }
    return {};
}

// The library, built once per run in a folder that goes away at exit.
struct Library {
    std::filesystem::path root;
    std::unique_ptr<MetadataStore> store;
    double buildSeconds = 0;

    Library() {
        char folder[] = "/tmp/lumetta-bench-metadata-XXXXXX";
        root = ::mkdtemp(folder);
        store = std::move(MetadataStore::open(root).value());
        Random random;
        const auto start = std::chrono::steady_clock::now();
        for (int first = 0; first < kMessages; first += kBatch) {
            auto r = store->batch([&]() -> Result<void> {
                for (int n = first; n < first + kBatch; ++n) {
                    if (auto indexed = indexMessage(*store, random, n); !indexed)
                        return indexed;
                }
                return {};
            });
            if (!r)
                std::abort();
        }
        buildSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    ~Library() {
        store.reset();
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
    }
};

Library& library() {
    static Library instance;
    return instance;
}

void runQuery(benchmark::State& state, const char* query) {
    Library& lib = library();
    const QueryEvaluator evaluator(*lib.store);
    std::size_t found = 0;
    for (auto _ : state) {
        auto paths = evaluator.evaluate(query);
        if (!paths)
            std::abort();
        found = paths.value().size();
        benchmark::DoNotOptimize(paths);
    }
    state.counters["found"] = static_cast<double>(found);
    state.counters["build_s"] = lib.buildSeconds;
}

void BM_KeywordQuery(benchmark::State& state) {
    runQuery(state, "kMDItemKeywords == \"Work\"cd");
}
BENCHMARK(BM_KeywordQuery)->Unit(benchmark::kMillisecond);

void BM_TwoTermQuery(benchmark::State& state) {
    runQuery(state, "kMDItemKeywords == \"Work\"cd && kMDItemAuthors == \"grace*\"cd");
}
BENCHMARK(BM_TwoTermQuery)->Unit(benchmark::kMillisecond);

void BM_TextQuery(benchmark::State& state) {
    runQuery(state, "kMDItemTextContent = \"invoice\"cd");
}
BENCHMARK(BM_TextQuery)->Unit(benchmark::kMillisecond);

// The set-based paths `lumetta mdfind` takes: 10,000 hits counted with one COUNT, and
// listed with one join, for the exact keyword as a person types it (no modifiers).
void BM_CountTenThousandHits(benchmark::State& state) {
    Library& lib = library();
    const QueryEvaluator evaluator(*lib.store);
    std::size_t found = 0;
    for (auto _ : state) {
        auto count = evaluator.count("kMDItemKeywords == \"Work\"");
        if (!count)
            std::abort();
        found = count.value();
    }
    state.counters["found"] = static_cast<double>(found);
}
BENCHMARK(BM_CountTenThousandHits)->Unit(benchmark::kMillisecond);

void BM_ListTenThousandHits(benchmark::State& state) {
    runQuery(state, "kMDItemKeywords == \"Work\"");
}
BENCHMARK(BM_ListTenThousandHits)->Unit(benchmark::kMillisecond);

// A keyword and a word inside the subject: the second term scans the subjects inside SQLite.
void BM_KeywordAndSubjectWord(benchmark::State& state) {
    runQuery(state, "kMDItemKeywords == \"Work\" && kMDItemSubject == \"*budget*\"cd");
}
BENCHMARK(BM_KeywordAndSubjectWord)->Unit(benchmark::kMillisecond);

// One tag edit: the seven tag attributes of one message, in one transaction.
void BM_SetTagAttributes(benchmark::State& state) {
    MetadataStore& store = *library().store;
    int n = 0;
    for (auto _ : state) {
        const std::string path = pathOf(n++ % kMessages);
        auto r = store.batch([&]() -> Result<void> {
            const Dictionary::Entry tags[] = {
                {"kMDItemKeywords", Array{"Work", "Invoice"}},
                {"kMDItemProjects", Array{"Apollo"}},
                {"kMDItemComment", "Pay before the end of the month"},
                {"kMDItemStarRating", 4},
                {"kMDItemDueDate", Date{800000000.0}},
                {"lumettaICalUID", "5B0F6C1E-2F9A-4C4B-9D1E-0A7C2E3F4B5D"},
                {"lumettaICalCompletionDate", Date{800086400.0}},
            };
            for (const auto& [name, value] : tags) {
                if (auto written = store.setAttribute(path, name, value); !written)
                    return written;
            }
            return {};
        });
        if (!r)
            std::abort();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_SetTagAttributes)->Unit(benchmark::kMicrosecond);

} // namespace
