// The calendar's events and the statuses it answers them with.
#include "InProcessCalendarSupport.h"
#include "platform/foundation/Log.h"
#include "support/GoldenFile.h"

#include <chrono>
#include <thread>

namespace caltest {
namespace {

namespace fs = std::filesystem;
using namespace platform::appleevents;
using namespace calendarapp;

class Handling : public InProcessCalendar {
protected:
    std::string shownLog() const {
        return (scratch_.path().parent_path() / (scratch_.path().filename().string() + "-shown")).string();
    }
    CalendarApplication::Options options() const override {
        return {scratch_.path(), "printf '%s\\n' >>'" + shownLog() + "'", {}};
    }
    void TearDown() override {
        std::error_code ec;
        fs::remove(shownLog(), ec);
    }
    std::size_t itemFiles() const {
        std::size_t count = 0;
        for (const auto& entry : fs::recursive_directory_iterator(scratch_.path()))
            count += entry.path().extension() == ".ics";
        return count;
    }
};

// Requests a real application refuses, with the status and a message naming the reason;
// none of them changes a file.
TEST_F(Handling, RefusalsCarryStatusAndReason) {
    const auto make = [](OSType kind, std::vector<std::pair<AEKeyword, AEDesc>> params) {
        AppleEvent event = calendarEvent(kAECoreSuite, kAECreateElement);
        event.setParam(keyAEObjectClass, AEDesc::typeCode(kind));
        for (auto& [key, value] : params)
            event.setParam(key, value);
        return event;
    };
    const auto withProperty = [](OSType code, AEDesc value) {
        return makeToDoEvent("Work", AEDesc::record(typeAERecord, {{code, std::move(value)}}));
    };
    AppleEvent setWithoutData = calendarEvent(kAECoreSuite, kAESetData);
    setWithoutData.setParam(keyDirectObject, prop(pSummary, toDo("Alpha")));
    AppleEvent deleteCalendar = calendarEvent(kAECoreSuite, kAEDelete);
    deleteCalendar.setParam(keyDirectObject, calendarNamed("Work"));
    AppleEvent countInCalendar = countAlarmsEvent(calendarNamed("Work"));
    AppleEvent dateAsText = getEvent(prop(pDueDate, toDo("Alpha")));
    dateAsText.setParam(keyAERequestedType, AEDesc::typeCode(typeChar));
    AppleEvent alarmWithoutDate = makeAlarmEvent(toDo("Alpha"), 0);
    alarmWithoutDate.setParam(keyAEPropData, AEDesc::record());
    struct Case {
        const char* name;
        AppleEvent event;
        OSStatus error;
        const char* mentions;
    };
    const Case cases[] = {
        {"to-do in an unknown calendar", makeToDoEvent("Nowhere", AEDesc::record()), errAENoSuchObject,
         "\"Nowhere\""},
        {"to-do without location", make(cToDo, {}), errAEParamMissed, "location"},
        {"to-do in a to-do", make(cToDo, {{keyAEInsertHere, toDo("Alpha")}}), errAEEventFailed, "calendar"},
        {"due date as text", withProperty(pDueDate, roman("tomorrow")), errAECoercionFail, "date"},
        {"unknown priority", withProperty(pPriority, AEDesc::enumerated(fourCharCode("tdp7"))),
         errAECoercionFail, "priority"},
        {"unknown class", make(fourCharCode("zzzz"), {}), errAEEventFailed, nullptr},
        {"calendar without name", make(cCalendar, {}), errAEParamMissed, "name"},
        {"calendar that exists", makeCalendarEvent("Work"), errAEEventFailed, "exists"},
        {"alarm without trigger", alarmWithoutDate, errAEParamMissed, "trigger"},
        {"set the uid", setEvent(prop(pUid, toDo("Alpha")), roman("X")), errAENotModifiable, "uid"},
        {"set the stamp", setEvent(prop(pStamp, toDo("Alpha")), ldt(0)), errAENotModifiable, nullptr},
        {"set a calendar's name", setEvent(prop(pName, calendarNamed("Work")), roman("Job")),
         errAENotModifiable, nullptr},
        {"set an object", setEvent(toDo("Alpha"), roman("X")), errAENotModifiable, nullptr},
        {"set a date to text", setEvent(prop(pDueDate, toDo("Alpha")), roman("soon")), errAECoercionFail,
         nullptr},
        {"set without data", setWithoutData, errAEParamMissed, "'data'"},
        {"get without object", calendarEvent(kAECoreSuite, kAEGetData), errAEParamMissed, "'----'"},
        {"delete a calendar", deleteCalendar, errAEEventFailed, "only to dos"},
        {"count alarms of a calendar", countInCalendar, errAENoSuchObject, nullptr},
        {"a date as text", dateAsText, errAECoercionFail, nullptr},
        {"unknown event", calendarEvent(kAECoreSuite, fourCharCode("clon")), errAEEventNotHandled, nullptr},
    };
    const std::size_t files = itemFiles();
    for (const Case& c : cases) {
        const Answer answer = ask(c.event);
        ASSERT_EQ(answer.status, noErr) << c.name;
        EXPECT_EQ(answer.error(), c.error) << c.name << ": " << answer.errorText();
        if (c.mentions) {
            EXPECT_NE(answer.errorText().find(c.mentions), std::string::npos)
                << c.name << ": " << answer.errorText();
        }
    }
    EXPECT_EQ(itemFiles(), files);
    EXPECT_EQ(ask(getEvent(prop(pSummary, toDo("Alpha")))).result()->stringValue(), "Alpha");
}

// Events that only need an answer, counting at each level, and a requested type.
TEST_F(Handling, AnswersAndCounts) {
    for (const AppleEvent& event :
         {calendarEvent(kAEMiscStandards, kAEActivate), calendarEvent(kCoreEventClass, kAEOpenApplication)})
        EXPECT_FALSE(ask(event).error());
    const auto count = [](OSType kind, AEDesc of) {
        AppleEvent event = calendarEvent(kAECoreSuite, kAECountElements);
        event.setParam(keyAEObjectClass, AEDesc::typeCode(kind));
        if (!of.isNull())
            event.setParam(keyDirectObject, std::move(of));
        return ask(event).result()->int32Value().value_or(-1);
    };
    EXPECT_EQ(count(cCalendar, AEDesc()), 2);
    EXPECT_EQ(count(cToDo, calendarNamed("Work")), 3);
    EXPECT_EQ(count(cToDo, every(cToDo, everyCalendar())), 4);
    AppleEvent asList = getEvent(prop(pSummary, toDo("Alpha")));
    asList.setParam(keyAERequestedType, AEDesc::typeCode(typeAEList));
    EXPECT_EQ(*ask(asList).result(), AEDesc::list({roman("Alpha")}));
}

// Show logs the to-do and runs the configured command with its file; quit runs the quit
// action after answering.
TEST_F(Handling, ShowAndQuit) {
    const platform::ScopedLogCapture log;
    AppleEvent show = calendarEvent(kCalendarSuite, kAEShow);
    show.setParam(keyDirectObject, toDo("Beta"));
    EXPECT_FALSE(ask(show).error());
    EXPECT_TRUE(log.contains(uids_["Beta"]));
    const std::string file = store().findToDo(uids_["Beta"]).value().file.string();
    std::string shown;
    for (int i = 0; i < 500 && shown.empty(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        shown = testsupport::readFile(shownLog());
    }
    EXPECT_EQ(shown, file + "\n");

    bool quit = false;
    app_->setQuitAction([&quit] { quit = true; });
    EXPECT_FALSE(ask(calendarEvent(kCoreEventClass, kAEQuitApplication)).error());
    EXPECT_TRUE(quit);
}

} // namespace
} // namespace caltest
