// Parsing and writing the property-list tail of a typical tagged message file: the
// mail client's own keys plus a full set of tags. Every tag read of a message that is
// not cached, and every tag write, goes through one of these.
#include "platform/foundation/PropertyList.h"

#include <benchmark/benchmark.h>

using namespace platform;

namespace {

Value typicalTail() {
    return Dictionary{
        {"date-last-viewed", 0},
        {"date-received", 1516985072},
        {"date-sent", 1516985000},
        {"flags", 8623750272LL},
        {"remote-id", "50751"},
        {"subject", "Invoice 2026-114 for the Apollo project, due next month"},
        {"lumettaKeyWords", Array{"Invoice", "Accounts", "Important"}},
        {"lumettaProject", "Apollo"},
        {"lumettaNote", "Pay before 12/01/2026 & forward to <accounts>"},
        {"lumettaPriority", "3"},
        {"lumettaDueDate", Date{817000000.0}},
        {"lumettaUseDueDate", "YES"},
    };
}

void BM_WriteTypicalTail(benchmark::State& state) {
    const Value tail = typicalTail();
    std::size_t bytes = 0;
    for (auto _ : state) {
        auto xml = PropertyList::xml(tail);
        bytes = xml.value().size();
        benchmark::DoNotOptimize(xml);
    }
    state.counters["bytes"] = static_cast<double>(bytes);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_WriteTypicalTail);

void BM_ParseTypicalTail(benchmark::State& state) {
    const std::string xml = PropertyList::xml(typicalTail()).value();
    for (auto _ : state) {
        auto parsed = PropertyList::parse(xml);
        benchmark::DoNotOptimize(parsed);
    }
    state.counters["bytes"] = static_cast<double>(xml.size());
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ParseTypicalTail);

} // namespace
