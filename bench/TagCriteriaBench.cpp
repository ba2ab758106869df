// Tag criteria over a large library: a smart mailbox of three tag criteria (keyword
// "Work", priority above 2, due within a week) answered from the metadata index (should
// take under 100 ms over 100,000 messages), and the same criteria evaluated in memory
// over 100,000 messages whose tags are already loaded, as rules do (under 200 ms).
#include "lumetta/startup/CategoryLoader.h"
#include "lumetta/criteria/LibraryCriterionFixing.h"
#include "lumetta/criteria/TagCriterionTypes.h"
#include "lumetta/store/MessageTags.h"
#include "mailhost/HostClasses.h"
#include "mailhost/criteria/MessageCriterion.h"
#include "platform/spotlight/MetadataStore.h"
#include "platform/spotlight/query/QueryEvaluator.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <random>

using namespace platform;
using mailhost::MessageCriterion;
namespace types = lumetta::TagCriterionTypes;

namespace {

constexpr int kMessages = 100000;

// One message's tags: a tenth carry "Work", priorities 0-5, a third have a due date
// within a month.
Dictionary tagsFor(std::mt19937& random, int n) {
    Dictionary tags;
    tags.set("lumettaKeyWords", n % 10 == 0 ? Array{"Work", "Home"} : Array{"Home"});
    tags.set("lumettaPriority", static_cast<int>(random() % 6));
    if (random() % 3 == 0) {
        tags.set("lumettaDueDate", Date{Clock::now().seconds + static_cast<double>(random() % (30 * 86400))});
        tags.set("lumettaDueDateState", 1);
    }
    return tags;
}

// The tag mirror's attributes for the same tags.
Dictionary attributesFor(const Dictionary& tags) {
    Dictionary out{{"kMDItemKeywords", tags.get("lumettaKeyWords")}};
    if (tags.get("lumettaPriority").intValue() > 0)
        out.set("kMDItemStarRating", tags.get("lumettaPriority"));
    if (tags.contains("lumettaDueDate"))
        out.set("kMDItemDueDate", tags.get("lumettaDueDate"));
    return out;
}

std::shared_ptr<MessageCriterion> criterion(int type, int qualifier, const char* expression) {
    auto c = MessageCriterion::create();
    c->setCriterionType(type);
    c->setCriterionIdentifier(MessageCriterion::stringForCriterionType(type));
    c->setQualifier(qualifier);
    c->setExpression(std::string(expression));
    return c;
}

std::shared_ptr<MessageCriterion> smartMailbox() {
    auto all = MessageCriterion::create();
    all->setCriterionType(MessageCriterion::kCompoundType);
    all->setCriterionIdentifier(MessageCriterion::kCompoundIdentifier);
    all->criteria() = {criterion(types::kKeyWord, 3, "Work"), criterion(types::kPriority, 6, "2"),
                       criterion(types::kDueDate, 5, "7")};
    return all;
}

struct Fixture {
    std::filesystem::path root;
    std::unique_ptr<spotlight::MetadataStore> store;
    std::vector<std::shared_ptr<mailhost::Message>> messages;

    Fixture() {
        mailhost::registerHostClasses();
        lumetta::loadCategories();
        char folder[] = "/tmp/lumetta-bench-criteria-XXXXXX";
        root = ::mkdtemp(folder);
        store = std::move(spotlight::MetadataStore::open(root).value());
        std::mt19937 random(20261122);
        spotlight::MetadataStore::Transaction batch(*store);
        for (int n = 0; n < kMessages; ++n) {
            const Dictionary tags = tagsFor(random, n);
            if (!store->replaceHostAttributes("/m/" + std::to_string(n), attributesFor(tags), {}).ok())
                std::abort();
            std::unique_ptr<runtime::Object> object = mailhost::Message::registerClass().createInstance();
            std::shared_ptr<mailhost::Message> message(dynamic_cast<mailhost::Message*>(object.release()));
            lumetta::MessageTags::lumettaSetExtraDataTo(*message, tags);
            messages.push_back(std::move(message));
        }
        if (!batch.commit().ok())
            std::abort();
    }
    ~Fixture() {
        messages.clear();
        store.reset();
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
    }
};

Fixture& fixture() {
    static Fixture f;
    return f;
}

void BM_SmartMailboxFromIndex(benchmark::State& state) {
    Fixture& f = fixture();
    std::size_t found = 0;
    for (auto _ : state) {
        auto fixed = lumetta::LibraryCriterionFixing::lumettaFixCriterion(nullptr, {}, smartMailbox());
        const auto& query = fixed->criteria().front()->expression();
        auto paths = spotlight::QueryEvaluator(*f.store).evaluate(query.value_or(""));
        if (!paths)
            std::abort();
        found = paths.value().size();
    }
    state.counters["found"] = static_cast<double>(found);
}
BENCHMARK(BM_SmartMailboxFromIndex)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_InMemoryEvaluation(benchmark::State& state) {
    Fixture& f = fixture();
    auto mailbox = smartMailbox();
    std::size_t found = 0;
    for (auto _ : state) {
        found = 0;
        for (const auto& message : f.messages)
            found += mailbox->doesMessageSatisfyCriterion(message.get()) ? 1 : 0;
    }
    state.counters["found"] = static_cast<double>(found);
}
BENCHMARK(BM_InMemoryEvaluation)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
