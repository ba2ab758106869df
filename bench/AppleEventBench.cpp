// Apple Event round trips over an application's socket, as the calendar client makes
// them: a waiting 'core'/'getd' of one property of a to-do, answered by a server thread
// in this process. The goal is a median under 1 ms per exchange; the counters show the
// median and 99th percentile of single exchanges next to the mean Google Benchmark gives.
#include "platform/appleevents/AEFlattener.h"
#include "platform/appleevents/AESend.h"
#include "platform/appleevents/AEServer.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdlib.h>
#include <vector>

using namespace platform::appleevents;

namespace {

constexpr const char* kCalendar = "org.lumetta.bench.calendar";

// The summary of the first to-do of the calendar "Work".
AEDesc summaryOfAToDo() {
    const AEDesc calendar =
        AEDesc::objectSpecifier(formName, fourCharCode("wres"), AEDesc::text("Work"), AEDesc());
    const AEDesc toDo =
        AEDesc::objectSpecifier(formAbsolutePosition, fourCharCode("wret"), AEDesc::longInteger(1), calendar);
    return AEDesc::propertySpecifier(fourCharCode("wr11"), toDo);
}

AppleEvent getEvent() {
    AppleEvent event = AppleEvent::toBundleIdentifier(fourCharCode("core"), fourCharCode("getd"), kCalendar);
    event.setParam(keyDirectObject, summaryOfAToDo());
    return event;
}

// A private runtime folder and a server answering every event with a short text.
struct Calendar {
    std::filesystem::path folder;
    std::unique_ptr<AEServer> server;

    Calendar() {
        char name[] = "/tmp/lumetta-ae-bench-XXXXXX";
        if (::mkdtemp(name) == nullptr)
            std::abort();
        folder = name;
        ::setenv("XDG_RUNTIME_DIR", name, 1);
        auto listening = AEServer::listen(kCalendar, [](const AppleEvent& event) {
            AppleEvent reply = AppleEvent::replyTo(event);
            reply.setParam(keyDirectObject, AEDesc::text("Pay the invoice from Caf\x8E Central"));
            return reply;
        });
        if (!listening)
            std::abort();
        server = std::move(listening.value());
        server->start();
    }
    ~Calendar() {
        server.reset();
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
};

void BM_WaitingGetRoundTrip(benchmark::State& state) {
    Calendar calendar;
    const AppleEvent event = getEvent();
    std::vector<double> micros;
    for (auto _ : state) {
        const auto started = std::chrono::steady_clock::now();
        AppleEvent reply;
        if (AESendMessage(event, &reply, kAEWaitReply | kAENeverInteract, kAEDefaultTimeout) != noErr)
            state.SkipWithError("the send failed");
        micros.push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - started).count());
        benchmark::DoNotOptimize(reply);
    }
    std::sort(micros.begin(), micros.end());
    if (!micros.empty()) {
        state.counters["median_us"] = micros[micros.size() / 2];
        state.counters["p99_us"] = micros[micros.size() * 99 / 100];
    }
}
BENCHMARK(BM_WaitingGetRoundTrip)->Unit(benchmark::kMicrosecond);

// The two ends' share of that: writing and reading the event's bytes.
void BM_FlattenAndReadEvent(benchmark::State& state) {
    const AppleEvent event = getEvent();
    for (auto _ : state) {
        auto back = AEFlattener::unflattenEvent(AEFlattener::flatten(event));
        benchmark::DoNotOptimize(back);
    }
}
BENCHMARK(BM_FlattenAndReadEvent)->Unit(benchmark::kMicrosecond);

} // namespace
