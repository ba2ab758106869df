// Importing new mail through rules that tag it: 10,000 messages stored in batches of
// 1,000, as `lumetta import` stores them, each batch routed through three rules with tag
// actions (a project, keywords, a priority, a due date and a dated note), the tags
// written into the message files and mirrored into the metadata index. Should manage
// 1,000 messages a second.
#include "lumetta/startup/CategoryLoader.h"
#include "lumetta/store/TagKeys.h"
#include "mailhost/HostClasses.h"
#include "mailhost/criteria/CriterionSyntax.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/Library.h"
#include "mailhost/rules/ConcreteMessageMall.h"
#include "mailhost/rules/RuleActionSyntax.h"
#include "platform/foundation/Value.h"
#include "samples/SampleMailGenerator.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <filesystem>
#include <optional>
#include <stdlib.h>

using namespace mailhost;
namespace fs = std::filesystem;

namespace {

constexpr int kMessages = 10000;
constexpr int kBatch = 1000;

std::shared_ptr<MessageRule> rule(const char* name, std::vector<const char*> criteria,
                                  std::vector<const char*> actions) {
    auto made = MessageRule::create();
    made->setRuleName(std::string(name));
    for (const char* text : criteria)
        made->criteria().push_back(MessageRuleCriterion::withDictionary(
            CriterionSyntax::criterion(text).value()->dictionaryRepresentation()));
    for (const char* text : actions)
        (void)RuleActionSyntax::apply(text, *made);
    return made;
}

std::vector<std::shared_ptr<MessageRule>> threeRules() {
    return {rule("Accounts", {"subject~budget"},
                 {"project=Accounts", "add-keyword=Money", "due+=14", "note-append=Paid on $date"}),
            rule("Team", {"from~example"}, {"add-keyword=Team", "priority=2"}),
            rule("Everything", {}, {"add-keyword=Imported", "remove-keyword=Spam"})};
}

struct Scratch {
    fs::path root;
    Scratch() {
        char tmpl[] = "/tmp/lumetta-bench-rules-XXXXXX";
        root = ::mkdtemp(tmpl);
    }
    ~Scratch() {
        std::error_code ec;
        fs::remove_all(root, ec);
    }
};

void BM_ImportThroughTagRules(benchmark::State& state) {
    registerHostClasses();
    lumetta::loadCategories();
    samples::SampleMailGenerator generator;
    std::vector<std::string> mail;
    for (int i = 0; i < kMessages; ++i)
        mail.push_back(generator.nextMessage());
    // Without rules: what the import alone costs on this machine, for comparison.
    const auto rules = state.range(0) ? threeRules() : std::vector<std::shared_ptr<MessageRule>>{};
    std::optional<Scratch> scratch;
    std::chrono::duration<double> routing{0};
    for (auto _ : state) {
        state.PauseTiming();
        scratch.reset();
        scratch.emplace();
        auto library = Library::open(scratch->root, true).value();
        auto mall = ConcreteMessageMall::withRules(rules);
        state.ResumeTiming();
        MessageList arrived;
        auto batch = std::make_unique<Library::BulkAdd>(*library);
        for (int i = 0; i < kMessages; ++i) {
            auto added = library->addMessage("INBOX", mail[static_cast<std::size_t>(i)], 0, 800000000.0 + i);
            if (added)
                arrived.push_back(added.value());
            if ((i + 1) % kBatch == 0) {
                (void)batch->commit();
                const auto started = std::chrono::steady_clock::now();
                if (!rules.empty()) // as import does, which routes nothing without active rules
                    mall->route(arrived, {"INBOX"});
                routing += std::chrono::steady_clock::now() - started;
                arrived.clear();
                batch = std::make_unique<Library::BulkAdd>(*library);
            }
        }
        (void)batch->commit();
        batch.reset();
        state.PauseTiming();
        // The tags must be in the files and in the index, or the figure means nothing.
        const auto last = library->message(kMessages);
        const auto file =
            last ? EmlxFile::read(last->path()) : platform::Result<EmlxFile>(platform::makeError("gone"));
        const platform::Value indexed =
            last ? library->metadata()->attribute(last->path().string(), "kMDItemKeywords")
                 : platform::Value();
        if (!rules.empty() &&
            (!file || !file.value().plist().contains(lumetta::TagKeys::kKeyWords) || !indexed.array()))
            state.SkipWithError("the rules' tags were not saved");
        mall.reset();
        library.reset();
        state.ResumeTiming();
    }
    // The rules' share of the time, apart from storing the messages.
    state.counters["routing s"] = routing.count() / static_cast<double>(state.iterations());
    state.counters["messages/s"] =
        benchmark::Counter(static_cast<double>(kMessages * state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ImportThroughTagRules)
    ->ArgName("rules")
    ->Arg(0)
    ->Arg(3)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3);

} // namespace
