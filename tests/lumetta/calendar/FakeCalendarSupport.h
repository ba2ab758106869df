#pragma once

#include "platform/appleevents/AEInProcessTransport.h"
#include "platform/appleevents/AEServer.h"
#include "platform/appleevents/AppleEvent.h"
#include "platform/foundation/HeadlessRunLoop.h"
#include "platform/foundation/Log.h"
#include "support/MessageFileSupport.h"

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace caltodo {

using platform::appleevents::AEDesc;
using platform::appleevents::AppleEvent;
using platform::appleevents::OSType;

// One to-do of the fake calendar, its values as they travel.
struct FakeToDo {
    std::string uid;
    std::string calendar;
    std::optional<std::string> summary, notes, url;
    std::optional<AEDesc> due, completion;
    OSType priority = 0;
    std::int64_t stamp = 0; // LongDateTime of the last change
    std::vector<AEDesc> alarms;
};

// A calendar application in memory that answers the client's events the way the real
// one does (references by UID inside their calendar, test queries, all-properties
// records), and keeps a transcript of what it received.
class FakeCalendar {
public:
    FakeCalendar();
    AppleEvent handle(const AppleEvent& request);

    FakeToDo* find(const std::string& uid);
    FakeToDo& add(const std::string& calendar, const std::string& summary);
    // Marks a to-do changed now (the clock's time), as an edit in the calendar would.
    void touch(FakeToDo& toDo);

    // Every event received, one block each: "class/id" and one line per parameter.
    std::string transcript() const;
    void clearTranscript() { received.clear(); }
    std::size_t count(const char* eventClass, const char* eventID) const;

    std::vector<std::string> calendars;
    std::vector<FakeToDo> toDos;
    std::vector<AppleEvent> received;
    bool refuseNewCalendars = false;
    int shown = 0;
    int activated = 0;

private:
    AppleEvent get(const AppleEvent& request);
    AppleEvent make(const AppleEvent& request);
    AppleEvent set(const AppleEvent& request);
    AEDesc reference(const FakeToDo& toDo) const;
    AEDesc propertyOf(const FakeToDo& toDo, OSType property) const;
    FakeToDo* toDoAt(const AEDesc& specifier);
    int nextUid_ = 1;
};

// A calendar client's world: private settings and runtime folder, a main run loop,
// the fake calendar reached through the in-process transport, and a socket that makes
// the calendar count as running. Starting the calendar cannot succeed here (its program
// does not exist), and each attempt leaves a log line.
class CalendarClientTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // The calendar counts as running (the default) or not; events reach it either way.
    void startPresence();
    void stopPresence() { presence_.reset(); }
    // Events find no calendar at all (procNotFound).
    void disconnect();
    std::size_t launchAttempts() const;

    testsupport::ScratchFolder scratch_;
    FakeCalendar calendar_;
    platform::appleevents::AEInProcessTransport transport_;
    std::unique_ptr<platform::appleevents::ScopedAETransport> installed_;
    std::unique_ptr<platform::appleevents::AEServer> presence_;
    platform::HeadlessRunLoop loop_;
    std::unique_ptr<platform::ScopedLogCapture> log_;
};

// Text that golden files compare: the whole of one operation's traffic.
std::filesystem::path goldenFile(const std::string& name);

} // namespace caltodo
