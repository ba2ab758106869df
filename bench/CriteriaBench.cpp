// The client's own criteria evaluated in memory over 100,000 messages whose headers are
// already read, as `lumetta find` and smart mailboxes evaluate the parts the index does
// not answer: sender contains (ignoring case and accents), subject begins with, and
// unread, combined by all and by any; and the same with a date criterion in place of the
// flag, which reads the Date field of every message.
#include "mailhost/HostClasses.h"
#include "mailhost/criteria/CriterionSyntax.h"
#include "mailhost/mail/Message.h"
#include "samples/SampleMailGenerator.h"

#include <benchmark/benchmark.h>

using namespace mailhost;

namespace {

constexpr int kMessages = 100000;

// A message held in memory: its header block is all the criteria here read.
class HeldMessage : public Message {
public:
    HeldMessage(std::string bytes, std::uint64_t flags)
        : Message(&Message::registerClass()), bytes_(std::move(bytes)) {
        setFlags(flags);
    }
    platform::Result<std::string> messageBytes() const override { return bytes_; }

private:
    std::string bytes_;
};

const std::vector<std::unique_ptr<HeldMessage>>& messages() {
    static const auto held = [] {
        registerHostClasses();
        samples::SampleMailGenerator generator;
        std::vector<std::unique_ptr<HeldMessage>> out;
        out.reserve(kMessages);
        for (int i = 0; i < kMessages; ++i) {
            std::string bytes = generator.nextMessage(i % 7 == 0);
            bytes.resize(std::min(bytes.size(), bytes.find("\n\n") + 1));
            out.push_back(std::make_unique<HeldMessage>(std::move(bytes), i % 3 == 0 ? 1 : 0));
            out.back()->headers(); // read once, as a listing has by the time it filters
        }
        return out;
    }();
    return held;
}

void evaluate(benchmark::State& state, const std::vector<std::string>& texts, bool all) {
    const auto& held = messages();
    auto compound = CriterionSyntax::compound(texts, all);
    if (!compound) {
        state.SkipWithError(compound.error().message.c_str());
        return;
    }
    std::size_t matched = 0;
    for (auto _ : state) {
        matched = 0;
        for (const auto& m : held)
            matched += compound.value()->doesMessageSatisfyCriterion(m.get()) ? 1 : 0;
        benchmark::DoNotOptimize(matched);
    }
    state.counters["matched"] = static_cast<double>(matched);
    state.SetItemsProcessed(state.iterations() * kMessages);
}

void BM_ThreeHostCriteriaAll(benchmark::State& state) {
    evaluate(state, {"from~lindstrom", "subject^=re:", "unread"}, true);
}
BENCHMARK(BM_ThreeHostCriteriaAll)->Unit(benchmark::kMillisecond);

void BM_ThreeHostCriteriaAny(benchmark::State& state) {
    evaluate(state, {"from~lindstrom", "subject^=re:", "unread"}, false);
}
BENCHMARK(BM_ThreeHostCriteriaAny)->Unit(benchmark::kMillisecond);

void BM_HostCriteriaWithDateSent(benchmark::State& state) {
    evaluate(state, {"recipient~example.org", "subject~notes", "sent-after=2026-03-01"}, false);
}
BENCHMARK(BM_HostCriteriaWithDateSent)->Unit(benchmark::kMillisecond);

} // namespace
