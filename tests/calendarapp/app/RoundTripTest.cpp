// The calendar client's whole conversation with a running lumetta-calendar, over its
// socket, checked in the replies and in the item files other programs read.
#include "CalendarProcessSupport.h"
#include "calendarapp/store/ToDoStore.h"
#include "platform/appleevents/AEDescription.h"
#include "platform/foundation/MacRoman.h"

#include <fcntl.h>
#include <map>
#include <set>
#include <sys/stat.h>

namespace caltest {
namespace {

namespace fs = std::filesystem;
using namespace platform::appleevents;
using namespace calendarapp;

constexpr double kDue = 1898593200.0;       // 2030-03-01 11:00:00 UTC
constexpr double kCompleted = 1709631000.0; // 2024-03-05 09:30:00 UTC
constexpr const char* kSummary = "Café Über: pay the “Q3” invoice";
constexpr const char* kUrl = "message:///Users/anna/Library/Mail/INBOX.mbox/Messages/4711.emlx";

class RoundTrip : public CalendarProcessTest {
protected:
    void SetUp() override {
        CalendarProcessTest::SetUp();
        start();
    }

    // Makes the calendar "Errands" and a to-do in it with every property; its reference.
    AEDesc makeFullToDo() {
        EXPECT_FALSE(ask(makeCalendarEvent("Errands")).error());
        const AEDesc properties =
            AEDesc::record(typeAERecord, {{pSummary, roman(kSummary)},
                                          {pNotes, roman("Line one\nLine two")},
                                          {pUrl, roman(kUrl)},
                                          {pDueDate, ldt(kDue)},
                                          {pCompletionDate, ldt(kCompleted)},
                                          {pPriority, AEDesc::enumerated(kPriorityHigh)}});
        const Answer made = ask(makeToDoEvent("Errands", properties));
        EXPECT_EQ(made.status, noErr);
        EXPECT_FALSE(made.error()) << made.errorText();
        return made.result() ? *made.result() : AEDesc();
    }

    std::string uidOf(const AEDesc& toDo) {
        return ask(getEvent(prop(pUid, toDo))).result()->stringValue().value_or("");
    }
};

// Making a calendar and a to-do with every property, then finding it by UID and reading
// all its properties back as the client does.
TEST_F(RoundTrip, MakesFindsAndReadsAToDoWithEveryProperty) {
    const Answer before = ask(getEvent(calendarsNamed("Errands")));
    ASSERT_EQ(before.status, noErr);
    EXPECT_TRUE(references(before).empty());
    const AEDesc toDo = makeFullToDo();
    ASSERT_EQ(toDo.descriptorType(), typeObjectSpecifier);
    EXPECT_EQ(references(ask(getEvent(calendarsNamed("Errands")))).size(), 1u);
    EXPECT_EQ(read(store() / "errands" / "displayname"), "Errands");

    const std::string uid = uidOf(toDo);
    ASSERT_FALSE(uid.empty());
    const std::string file = read(itemFile(uid));
    for (const char* line :
         {"SUMMARY:Café Über: pay the “Q3” invoice\r\n", "DESCRIPTION:Line one\\nLine two\r\n",
          "URL:message:///Users/anna/Library/Mail/INBOX.mbox/Messages/4711.emlx\r\n",
          "DUE:20300301T110000Z\r\n", "COMPLETED:20240305T093000Z\r\n", "STATUS:COMPLETED\r\n",
          "PRIORITY:1\r\n"})
        EXPECT_NE(file.find(line), std::string::npos) << line << " in\n" << file;

    const auto found = references(ask(getEvent(toDoWithUid(uid))));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0], toDo);

    AppleEvent all = getEvent(prop(pAllProperties, found[0]));
    all.setParam(keyAERequestedType, AEDesc::typeCode(typeAERecord));
    const Answer properties = ask(all);
    ASSERT_EQ(properties.result()->descriptorType(), typeAERecord);
    const AEDesc& record = *properties.result();
    EXPECT_EQ(record.param(pSummary)->textBytes(), platform::MacRoman::encode(kSummary).value());
    EXPECT_EQ(record.param(pNotes)->stringValue(), "Line one\nLine two");
    EXPECT_EQ(record.param(pUrl)->stringValue(), kUrl);
    EXPECT_EQ(record.param(pUid)->stringValue(), uid);
    EXPECT_EQ(*record.param(pDueDate), ldt(kDue));
    EXPECT_EQ(*record.param(pCompletionDate), ldt(kCompleted));
    EXPECT_EQ(record.param(pPriority)->osTypeValue(), kPriorityHigh);
    EXPECT_EQ(record.param(pPriority)->descriptorType(), typeEnumerated);

    const AEDesc* holder = found[0].param(keyAEContainer);
    ASSERT_NE(holder, nullptr);
    EXPECT_EQ(ask(getEvent(prop(pName, *holder))).result()->stringValue(), "Errands");
}

// Each property set as the client sets it (strings waiting, the rest without reply),
// read back through events and seen in the file; the empty title goes as 'null'.
TEST_F(RoundTrip, SetsEachProperty) {
    const AEDesc toDo = makeFullToDo();
    const std::string uid = uidOf(toDo);
    struct Case {
        OSType property;
        AEDesc value;
        bool waits;
        const char* inFile; // a line the file then holds
        const char* gone;   // a line it no longer holds
        AEDesc readBack;
    };
    const Case cases[] = {
        {pSummary, roman("Pay the invoice"), true, "SUMMARY:Pay the invoice\r\n", nullptr,
         roman("Pay the invoice")},
        {pNotes, roman("Ärger"), true, "DESCRIPTION:Ärger\r\n", "Line one", roman("Ärger")},
        {pUrl, roman("message:///Messages/12%20a.emlx"), true, "URL:message:///Messages/12%20a.emlx\r\n",
         "4711", roman("message:///Messages/12%20a.emlx")},
        {pDueDate, ldt(kDue + 86400), false, "DUE:20300302T110000Z\r\n", "DUE:20300301", ldt(kDue + 86400)},
        {pCompletionDate, ldt(kCompleted + 60), false, "COMPLETED:20240305T093100Z\r\n", nullptr,
         ldt(kCompleted + 60)},
        {pPriority, AEDesc::enumerated(kPriorityLow), false, "PRIORITY:9\r\n", "PRIORITY:1",
         AEDesc::enumerated(kPriorityLow)},
        {pPriority, AEDesc::enumerated(kPriorityMedium), false, "PRIORITY:5\r\n", "PRIORITY:9",
         AEDesc::enumerated(kPriorityMedium)},
        {pPriority, AEDesc::enumerated(kPriorityNone), false, nullptr,
         "PRIORITY:", AEDesc::enumerated(kPriorityNone)},
        {pSummary, AEDesc::null(), true, nullptr, "SUMMARY:", AEDesc::typeCode(cMissingValue)},
    };
    for (const Case& c : cases) {
        const std::string name = osTypeString(c.property) + " " + describe(c.value);
        const AppleEvent set = setEvent(prop(c.property, toDo), c.value);
        if (c.waits) {
            const Answer answer = ask(set);
            EXPECT_EQ(answer.status, noErr) << name;
            EXPECT_FALSE(answer.error()) << name << ": " << answer.errorText();
        } else {
            EXPECT_EQ(tell(set), noErr) << name;
        }
        EXPECT_EQ(*ask(getEvent(prop(c.property, toDo))).result(), c.readBack) << name;
        const std::string file = read(itemFile(uid));
        if (c.inFile) {
            EXPECT_NE(file.find(c.inFile), std::string::npos) << name << "\n" << file;
        }
        if (c.gone) {
            EXPECT_EQ(file.find(c.gone), std::string::npos) << name << "\n" << file;
        }
    }
}

// No alarm yet: the client makes one at the end of the to-do's alarms; with one, it moves
// the first.
TEST_F(RoundTrip, CountsMakesAndMovesDisplayAlarms) {
    const AEDesc toDo = makeFullToDo();
    const std::string uid = uidOf(toDo);
    EXPECT_EQ(ask(countAlarmsEvent(toDo)).result()->stringValue(), "0");
    EXPECT_EQ(tell(makeAlarmEvent(toDo, kDue - 3600)), noErr);
    EXPECT_EQ(ask(countAlarmsEvent(toDo)).result()->int32Value(), 1);
    EXPECT_NE(read(itemFile(uid)).find("TRIGGER;VALUE=DATE-TIME:20300301T100000Z"), std::string::npos);

    const Answer moved = ask(setEvent(firstAlarmTrigger(toDo), ldt(kDue - 7200)));
    EXPECT_FALSE(moved.error()) << moved.errorText();
    EXPECT_EQ(*ask(getEvent(firstAlarmTrigger(toDo))).result(), ldt(kDue - 7200));
    const std::string file = read(itemFile(uid));
    EXPECT_NE(file.find("TRIGGER;VALUE=DATE-TIME:20300301T090000Z"), std::string::npos) << file;
    EXPECT_EQ(file.find("20300301T100000Z"), std::string::npos) << file;
    EXPECT_EQ(ask(countAlarmsEvent(toDo)).result()->int32Value(), 1);
}

// The refresh: to-dos changed since a date whose url points at a message file, changed
// through events or by another program, and each one's url fetched.
TEST_F(RoundTrip, FindsToDosLinkedToMessagesChangedSinceADate) {
    const platform::Date old = platform::Date::fromUnix(1704103200.0); // 2024-01-01 10:00 UTC
    ToDoStore direct(store());
    ASSERT_TRUE(direct.createCalendar("Work").ok());
    std::map<std::string, std::string> uids;
    {
        const platform::ScopedFixedClock clock(old);
        for (const char* url : {"message:///Messages/100.emlx", "message:///Messages/200.emlx",
                                "https://example.com/300.html", "message:///Messages/400.emlx"}) {
            ToDoProperties properties;
            properties.summary = "Linked";
            properties.url = url;
            auto toDo = direct.createToDo("Work", properties);
            ASSERT_TRUE(toDo.ok()) << toDo.error().message;
            uids[url] = toDo.value().uid;
            const timespec when{static_cast<time_t>(old.unixSeconds()), 0};
            const timespec times[2] = {when, when};
            ASSERT_EQ(::utimensat(AT_FDCWD, toDo.value().file.c_str(), times, 0), 0);
        }
    }
    const double since = platform::Clock::now().unixSeconds() - 60;
    const auto changeTitle = [&](const std::string& url) {
        EXPECT_FALSE(ask(setEvent(prop(pSummary, toDoWithUid(uids[url])), roman("Changed"))).error());
    };
    changeTitle("message:///Messages/200.emlx");
    changeTitle("https://example.com/300.html");
    // Another program rewrites a file without touching LAST-MODIFIED.
    ASSERT_EQ(::utimensat(AT_FDCWD, itemFile(uids["message:///Messages/400.emlx"]).c_str(), nullptr, 0), 0);
    EXPECT_FALSE(ask(makeToDoEvent("Work", AEDesc::record(typeAERecord, {{pUrl, roman(kUrl)}}))).error());

    const Answer changed = ask(getEvent(linkedToDosChangedSince(since)));
    ASSERT_EQ(changed.status, noErr);
    ASSERT_FALSE(changed.error()) << changed.errorText();
    std::set<std::string> identifiers;
    for (const AEDesc& item : references(changed)) {
        const fs::path url = ask(getEvent(prop(pUrl, item))).result()->stringValue().value_or("");
        identifiers.insert(url.stem().string());
    }
    EXPECT_EQ(identifiers, (std::set<std::string>{"200", "400", "4711"}));
    EXPECT_TRUE(references(ask(getEvent(linkedToDosChangedSince(since + 3600)))).empty());
}

// References handed out by 'crel' and by a listing keep naming their to-do while others
// come and go.
TEST_F(RoundTrip, ReferencesOutliveOtherToDos) {
    const AEDesc first = makeFullToDo();
    const auto listed = references(ask(getEvent(every(cToDo, calendarNamed("Errands")))));
    ASSERT_EQ(listed.size(), 1u);
    for (int i = 0; i < 12; ++i)
        ASSERT_FALSE(ask(makeToDoEvent("Errands", AEDesc::record(typeAERecord, {{pSummary, roman("Other")}})))
                         .error());
    EXPECT_EQ(ask(getEvent(prop(pSummary, first))).result()->stringValue(), kSummary);
    EXPECT_FALSE(ask(setEvent(prop(pSummary, listed[0]), roman("Still me"))).error());
    EXPECT_EQ(ask(getEvent(prop(pSummary, first))).result()->stringValue(), "Still me");
    EXPECT_EQ(ask(getEvent(every(cToDo, calendarNamed("Errands")))).result()->count(), 13u);
}

// Deleting removes the to-do's file and nothing else; its reference then names nothing.
TEST_F(RoundTrip, DeletesTheItemFile) {
    const AEDesc doomed = makeFullToDo();
    const Answer kept =
        ask(makeToDoEvent("Errands", AEDesc::record(typeAERecord, {{pSummary, roman("Keep")}})));
    const std::string doomedUid = uidOf(doomed), keptUid = uidOf(*kept.result());
    const std::string keptBytes = read(itemFile(keptUid));

    AppleEvent remove = calendarEvent(kAECoreSuite, kAEDelete);
    remove.setParam(keyDirectObject, references(ask(getEvent(toDoWithUid(doomedUid)))).at(0));
    EXPECT_EQ(tell(remove), noErr);
    EXPECT_TRUE(references(ask(getEvent(toDoWithUid(doomedUid)))).empty());
    EXPECT_TRUE(itemFile(doomedUid).empty());
    EXPECT_EQ(read(itemFile(keptUid)), keptBytes);

    const Answer again = ask(remove);
    EXPECT_EQ(again.error(), errAENoSuchObject);
    EXPECT_NE(again.errorText().find(doomedUid), std::string::npos) << again.errorText();
}

} // namespace
} // namespace caltest
