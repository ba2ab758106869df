// The refresh through the calendar application, as the client makes it: one waiting
// 'core'/'getd' of the to-dos changed since the last refresh whose url contains ".emlx"
// (a 'logi' test over every calendar), then one 'getd' of the url of each to-do found —
// all over the application's socket, against 5,000 to-dos of which 50 changed. The goal
// is the whole exchange under 200 ms, both right after the application started (every
// file read once) and while it runs.
#include "LinkedToDoStore.h"
#include "calendarapp/app/CalendarApplication.h"
#include "calendarapp/app/CalendarCodes.h"
#include "platform/appleevents/AESend.h"
#include "platform/appleevents/AEServer.h"

#include <benchmark/benchmark.h>
#include <filesystem>
#include <stdlib.h>

using namespace calendarapp;
using namespace platform::appleevents;
namespace fs = std::filesystem;

namespace {

constexpr int kToDos = 5000;
constexpr int kRecentlyChanged = 50;
const platform::Date kLastRefresh = platform::Date::fromUnix(1709290800.0); // 2024-03-01 11:00 UTC

// Two calendars of to-dos linked to messages; all but a few last changed a day before
// the last refresh. Also a private runtime folder for the application's socket.
struct Setting {
    fs::path root;
    fs::path runtime;

    Setting() {
        char storeName[] = "/tmp/lumetta-bench-calapp-XXXXXX";
        root = ::mkdtemp(storeName);
        char runtimeName[] = "/tmp/lumetta-bench-calapp-run-XXXXXX";
        runtime = ::mkdtemp(runtimeName);
        ::setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
        bench::fillLinkedToDoStore(root, kToDos, kRecentlyChanged, kLastRefresh);
    }
    ~Setting() {
        std::error_code ec;
        fs::remove_all(root, ec);
        fs::remove_all(runtime, ec);
    }
};

Setting& setting() {
    static Setting shared;
    return shared;
}

// lumetta-calendar's classes serving on a thread of their own.
struct RunningCalendar {
    CalendarApplication application{{setting().root, {}, {}}};
    std::unique_ptr<AEServer> server;

    RunningCalendar() {
        auto listening = AEServer::listen(kCalendarBundleIdentifier, application.handler());
        if (!listening)
            std::abort();
        server = std::move(listening.value());
        server->start();
    }
};

AppleEvent getEvent(AEDesc direct) {
    AppleEvent event = AppleEvent::toBundleIdentifier(kAECoreSuite, kAEGetData, kCalendarBundleIdentifier);
    event.setParam(keyDirectObject, std::move(direct));
    return event;
}

AEDesc comparison(OSType op, OSType property, AEDesc value) {
    return AEDesc::record(typeCompDescriptor,
                          {{keyAECompOperator, AEDesc::enumerated(op)},
                           {keyAEObject1, AEDesc::propertySpecifier(property, AEDesc::objectBeingExamined())},
                           {keyAEObject2, std::move(value)}});
}

AppleEvent changedSinceQuery() {
    const AEDesc test = AEDesc::record(
        typeLogicalDescriptor,
        {{keyAELogicalOperator, AEDesc::enumerated(kAEAND)},
         {keyAELogicalTerms,
          AEDesc::list({comparison(kAEGreaterThan, pStamp, AEDesc::longDateTime(kLastRefresh).value()),
                        comparison(kAEContains, pUrl, AEDesc::text(".emlx"))})}});
    const AEDesc everyCalendar =
        AEDesc::objectSpecifier(formAbsolutePosition, cCalendar, AEDesc::absoluteOrdinal(kAEAll), AEDesc());
    return getEvent(AEDesc::objectSpecifier(formTest, cToDo, test, everyCalendar));
}

// The query and each url; the number of urls read.
std::size_t refresh(const AppleEvent& query) {
    AppleEvent reply;
    if (AESendMessage(query, &reply, kAEWaitReply | kAENeverInteract, kAEDefaultTimeout) != noErr ||
        !reply.directObject() || !reply.directObject()->isList())
        return 0;
    std::size_t urls = 0;
    const AEDesc found = *reply.directObject();
    for (std::size_t i = 1; i <= found.count(); ++i) {
        AppleEvent urlReply;
        if (AESendMessage(getEvent(AEDesc::propertySpecifier(pUrl, *found.item(i))), &urlReply,
                          kAEWaitReply | kAENeverInteract, kAEDefaultTimeout) == noErr &&
            urlReply.directObject() && urlReply.directObject()->stringValue())
            ++urls;
    }
    return urls;
}

// The first refresh after the application started: every file is read.
void BM_RefreshAfterStart(benchmark::State& state) {
    const AppleEvent query = changedSinceQuery();
    for (auto _ : state) {
        state.PauseTiming();
        auto calendar = std::make_unique<RunningCalendar>();
        state.ResumeTiming();
        if (refresh(query) != kRecentlyChanged)
            state.SkipWithError("the refresh did not find exactly the recently changed to-dos");
        state.PauseTiming();
        calendar.reset();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_RefreshAfterStart)->Unit(benchmark::kMillisecond)->UseRealTime();

// Later refreshes of the running application: unchanged files are only looked at.
void BM_RefreshRunning(benchmark::State& state) {
    const AppleEvent query = changedSinceQuery();
    RunningCalendar calendar;
    (void)refresh(query);
    for (auto _ : state)
        if (refresh(query) != kRecentlyChanged)
            state.SkipWithError("the refresh did not find exactly the recently changed to-dos");
}
BENCHMARK(BM_RefreshRunning)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
