// Object specifiers as the calendar resolves them, through 'core'/'getd'.
#include "InProcessCalendarSupport.h"
#include "platform/appleevents/AEDescription.h"

#include <set>

namespace caltest {
namespace {

using namespace platform::appleevents;
using namespace calendarapp;

class Resolving : public InProcessCalendar {
protected:
    // The summaries of the to-dos a getd answer names.
    std::set<std::string> summaries(const Answer& answer) {
        std::set<std::string> found;
        for (const AEDesc& item : references(answer))
            found.insert(ask(getEvent(prop(pSummary, item))).result()->stringValue().value_or("?"));
        return found;
    }
    AEDesc workToDo(std::int32_t index) {
        return AEDesc::objectSpecifier(formAbsolutePosition, cToDo, AEDesc::longInteger(index),
                                       calendarNamed("Work"));
    }
    AEDesc withForm(OSType form, OSType want, AEDesc seld, AEDesc from) {
        return AEDesc::objectSpecifier(form, want, std::move(seld), std::move(from));
    }
};

// Each form, what it names, and the status of what it cannot name.
TEST_F(Resolving, FormsAndTheirFailures) {
    AEDesc noWant = calendarNamed("Work");
    noWant.removeParam(keyAEDesiredClass);
    struct Case {
        const char* name;
        AEDesc specifier;
        OSStatus error;       // 0: answered
        DescType type;        // of the answer
        std::size_t count;    // list items
        const char* mentions; // in 'errs'
    };
    const Case cases[] = {
        {"every calendar", everyCalendar(), 0, typeAEList, 2, nullptr},
        {"calendar by name", calendarNamed("Work"), 0, typeObjectSpecifier, 0, nullptr},
        {"unknown calendar", calendarNamed("Nowhere"), errAENoSuchObject, 0, 0, "\"Nowhere\""},
        {"every to-do of a calendar", every(cToDo, calendarNamed("Work")), 0, typeAEList, 3, nullptr},
        {"to-do by index", workToDo(2), 0, typeObjectSpecifier, 0, nullptr},
        {"index past the end", workToDo(4), errAEIllegalIndex, 0, 0, "4"},
        {"last to-do",
         withForm(formAbsolutePosition, cToDo, AEDesc::absoluteOrdinal(kAELast), calendarNamed("Home")), 0,
         typeObjectSpecifier, 0, nullptr},
        {"summaries of every to-do", prop(pSummary, every(cToDo, everyCalendar())), 0, typeAEList, 4,
         nullptr},
        {"unknown property", prop(fourCharCode("zzzz"), workToDo(1)), errAENoSuchObject, 0, 0, "'zzzz'"},
        {"name of a to-do", prop(pName, workToDo(1)), errAENoSuchObject, 0, 0, "name"},
        {"to-do by name", withForm(formName, cToDo, roman("Alpha"), calendarNamed("Work")), errAEBadKeyForm,
         0, 0, nullptr},
        {"unknown form", withForm(fourCharCode("zzzz"), cCalendar, AEDesc::longInteger(1), AEDesc()),
         errAEBadKeyForm, 0, 0, nullptr},
        {"calendars of a calendar", every(cCalendar, calendarNamed("Work")), errAENoSuchObject, 0, 0,
         nullptr},
        {"to-dos of the application", every(cToDo, AEDesc()), errAENoSuchObject, 0, 0, nullptr},
        {"specifier without class", noWant, errAENotAnObjSpec, 0, 0, nullptr},
        {"to-do id in another calendar",
         withForm(formUniqueID, cToDo, AEDesc::text(uids_["Delta"]), calendarNamed("Work")),
         errAENoSuchObject, 0, 0, nullptr},
        {"incomplete comparison",
         withForm(formTest, cToDo, AEDesc::record(typeCompDescriptor, {{keyAEObject2, roman("x")}}),
                  everyCalendar()),
         errAEBadTestKey, 0, 0, nullptr},
        {"comparison of two values",
         withForm(formTest, cToDo,
                  AEDesc::record(typeCompDescriptor, {{keyAECompOperator, AEDesc::enumerated(kAEEquals)},
                                                      {keyAEObject1, roman("a")},
                                                      {keyAEObject2, roman("a")}}),
                  everyCalendar()),
         errAEBadTestKey, 0, 0, nullptr},
        {"store folder of the application", prop(pStoreFolder, AEDesc()), 0, typeChar, 0, nullptr},
    };
    for (const Case& c : cases) {
        const Answer answer = ask(getEvent(c.specifier));
        ASSERT_EQ(answer.status, noErr) << c.name;
        EXPECT_EQ(answer.error().value_or(0), c.error) << c.name << ": " << answer.errorText();
        if (c.error != 0) {
            EXPECT_FALSE(answer.errorText().empty()) << c.name;
            if (c.mentions) {
                EXPECT_NE(answer.errorText().find(c.mentions), std::string::npos)
                    << c.name << ": " << answer.errorText();
            }
            continue;
        }
        ASSERT_NE(answer.result(), nullptr) << c.name;
        EXPECT_EQ(answer.result()->descriptorType(), c.type) << c.name << ": " << describe(*answer.result());
        if (c.type == typeAEList) {
            EXPECT_EQ(answer.result()->count(), c.count) << c.name;
        }
    }
}

// Tests: each operator, logic, values first, and properties without a value.
TEST_F(Resolving, Tests) {
    const AEDesc dueIn2029 = ldt(1861920000.0); // 2029-01-01 UTC
    const AEDesc reversed =
        AEDesc::record(typeCompDescriptor, {{keyAECompOperator, AEDesc::enumerated(kAELessThan)},
                                            {keyAEObject1, dueIn2029},
                                            {keyAEObject2, prop(pDueDate, AEDesc::objectBeingExamined())}});
    const auto logic = [](OSType op, std::vector<AEDesc> terms) {
        return AEDesc::record(typeLogicalDescriptor, {{keyAELogicalOperator, AEDesc::enumerated(op)},
                                                      {keyAELogicalTerms, AEDesc::list(std::move(terms))}});
    };
    const double now = platform::Clock::now().unixSeconds();
    struct Case {
        const char* name;
        AEDesc test;
        std::set<std::string> matches;
    };
    const Case cases[] = {
        {"summary equals", compare(kAEEquals, pSummary, roman("Alpha")), {"Alpha"}},
        {"equal text is exact", compare(kAEEquals, pSummary, roman("alpha")), {}},
        {"url contains", compare(kAEContains, pUrl, roman(".emlx")), {"Alpha", "Delta"}},
        {"url begins with", compare(kAEBeginsWith, pUrl, roman("https:")), {"Beta"}},
        {"url ends with", compare(kAEEndsWith, pUrl, roman("4.emlx")), {"Delta"}},
        {"priority", compare(kAEEquals, pPriority, AEDesc::enumerated(kPriorityMedium)), {"Beta"}},
        {"due date later", compare(kAEGreaterThan, pDueDate, dueIn2029), {"Alpha"}},
        {"no due date is never earlier", compare(kAELessThan, pDueDate, dueIn2029), {}},
        {"value first", reversed, {"Alpha"}},
        {"completed", compare(kAEGreaterThanEquals, pCompletionDate, ldt(1709631000.0)), {"Delta"}},
        {"uid as UTF-8", compare(kAEEquals, pUid, AEDesc::text(uids_["Beta"])), {"Beta"}},
        {"or",
         logic(kAEOR,
               {compare(kAEEquals, pSummary, roman("Alpha")), compare(kAEEquals, pSummary, roman("Gamma"))}),
         {"Alpha", "Gamma"}},
        {"not", logic(kAENOT, {compare(kAEContains, pUrl, roman(".emlx"))}), {"Beta", "Gamma"}},
        {"changed since and linked",
         allOf(compare(kAEGreaterThan, pStamp, ldt(now - 3600)), compare(kAEContains, pUrl, roman(".emlx"))),
         {"Alpha", "Delta"}},
        {"changed since later",
         allOf(compare(kAEGreaterThan, pStamp, ldt(now + 3600)), compare(kAEContains, pUrl, roman(".emlx"))),
         {}},
        {"stamp at or after",
         compare(kAEGreaterThanEquals, pStamp, ldt(now - 3600)),
         {"Alpha", "Beta", "Gamma", "Delta"}},
    };
    for (const Case& c : cases) {
        const Answer answer =
            ask(getEvent(AEDesc::objectSpecifier(formTest, cToDo, c.test, everyCalendar())));
        EXPECT_FALSE(answer.error()) << c.name << ": " << answer.errorText();
        EXPECT_EQ(summaries(answer), c.matches) << c.name;
    }
    EXPECT_EQ(summaries(ask(getEvent(AEDesc::objectSpecifier(
                  formTest, cToDo, compare(kAEContains, pUrl, roman("emlx")), calendarNamed("Home"))))),
              std::set<std::string>{"Delta"});
    EXPECT_EQ(references(ask(getEvent(calendarsNamed("Home")))).size(), 1u);
}

// A UID is compared as the UTF-8 bytes the client sends, while it reads back as Mac OS
// Roman text like every other string; a to-do another program named so is found both ways.
TEST_F(Resolving, UidsTravelAsUtf8InTestsAndMacRomanInAnswers) {
    const std::string uid = "bäckerei-1@example.org";
    testsupport::writeBytes(store().findCalendar("Home").value().folder / "foreign.ics",
                            "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Other//EN\r\nBEGIN:VTODO\r\nUID:" +
                                uid + "\r\nSUMMARY:Bread\r\nEND:VTODO\r\nEND:VCALENDAR\r\n");
    const auto found = references(ask(getEvent(toDoWithUid(uid))));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_TRUE(references(ask(getEvent(AEDesc::objectSpecifier(
                               formTest, cToDo, compare(kAEEquals, pUid, roman(uid)), everyCalendar()))))
                    .empty());
    const Answer read = ask(getEvent(prop(pUid, found[0])));
    EXPECT_EQ(read.result()->textBytes(), "b\x8A"
                                          "ckerei-1@example.org");
    EXPECT_EQ(ask(getEvent(prop(pSummary, found[0]))).result()->stringValue(), "Bread");
}

} // namespace
} // namespace caltest
