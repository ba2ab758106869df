#include "lumetta/calendar/LumettaICalToDo.h"

#include "FakeCalendarSupport.h"
#include "platform/foundation/UserDefaults.h"
#include "support/GoldenFile.h"

#include <thread>

using namespace caltodo;
using lumetta::LumettaICalToDo;
using platform::Date;
using platform::Dictionary;
using platform::Value;

namespace {

constexpr double kNow = 800000000; // 2026-05-09 06:13:20 GMT

class ICalToDoTest : public CalendarClientTest {
protected:
    void SetUp() override {
        CalendarClientTest::SetUp();
        clock_ = std::make_unique<platform::ScopedFixedClock>(Date{kNow});
        platform::UserDefaults::standard().setObject("Lumetta", "lumettaDefaultCalendar");
    }
    void TearDown() override {
        clock_.reset();
        CalendarClientTest::TearDown();
    }

    // A new to-do made through the client; its UID.
    std::string create(Dictionary values) {
        LumettaICalToDo toDo;
        toDo.createToDoInICalUsingDictionary(values);
        EXPECT_TRUE(toDo.UID());
        return toDo.UID().value_or("");
    }

    std::unique_ptr<platform::ScopedFixedClock> clock_;
};

} // namespace

// One operation's traffic each, as the calendar receives it.
TEST_F(ICalToDoTest, OperationsSendTheirEvents) {
    std::string dump;
    const auto record = [&](const char* operation, const std::function<void()>& run) {
        calendar_.clearTranscript();
        run();
        dump += std::string("== ") + operation + "\n" + calendar_.transcript();
    };
    std::string uid;
    record("create in a calendar that does not exist yet", [&] {
        uid = create({{"calendar", platform::Array{"Work", "Other"}},
                      {"summary", "Call Bob"},
                      {"url", "file:///Mail/INBOX.mbox/Messages/42.emlx"},
                      {"dueDate", Date{kNow + 86400}},
                      {"priority", 4}});
    });
    record("set the title to nothing", [&] { LumettaICalToDo(uid).setTitle(""); });
    record("point at another file", [&] { LumettaICalToDo(uid).setURL("file:///Mail/a b.emlx"); });
    record("add an alarm", [&] { LumettaICalToDo(uid).setDisplayAlarm(Date{kNow + 3600}); });
    record("move the alarm", [&] { LumettaICalToDo(uid).setDisplayAlarm(Date{kNow + 7200}); });
    record("complete", [&] { LumettaICalToDo(uid).setCompleteStateTo(1); });
    record("take the due date away: made again", [&] {
        LumettaICalToDo toDo(uid);
        toDo.setDueDate(std::nullopt);
        uid = toDo.UID().value_or("");
    });
    record("show", [&] { LumettaICalToDo(uid).viewToDoInICal(); });
    record("modified since", [&] {
        LumettaICalToDo refresher;
        refresher._fetchToDosModifiedSince(Date{0});
    });
    record("delete", [&] { LumettaICalToDo(uid).deleteICalEvent(); });
    const std::string diff = testsupport::compareWithGolden(goldenFile("operations.txt"), dump);
    EXPECT_TRUE(diff.empty()) << diff;
    EXPECT_EQ(calendar_.shown, 1);
    EXPECT_EQ(calendar_.activated, 1);
    EXPECT_TRUE(calendar_.toDos.empty());
}

// Priorities come back on the calendar's scale: 2 as 1, 4 as 5.
TEST_F(ICalToDoTest, PrioritiesReadBackLossily) {
    const std::pair<int, int> cases[] = {{0, 0}, {1, 1}, {2, 1}, {3, 3}, {4, 5}, {5, 5}};
    for (const auto& [given, read] : cases) {
        LumettaICalToDo toDo(create({{"summary", "p"}, {"priority", given}}));
        const auto properties = toDo.properties();
        ASSERT_TRUE(properties);
        EXPECT_EQ(properties->get("priority"), Value(read)) << given;
        EXPECT_EQ(properties->get("calendar"), Value("Lumetta"));
    }
}

// Without a calendar name nothing is made; a calendar that cannot be made stops creation.
TEST_F(ICalToDoTest, CreationNeedsACalendar) {
    platform::UserDefaults::standard().removeObjectForKey("lumettaDefaultCalendar");
    LumettaICalToDo unnamed;
    unnamed.createToDoInICalUsingDictionary(Dictionary{{"summary", "x"}});
    EXPECT_FALSE(unnamed.UID());
    EXPECT_TRUE(calendar_.received.empty());

    calendar_.refuseNewCalendars = true;
    LumettaICalToDo refused;
    refused.createToDoInICalUsingDictionary(Dictionary{{"summary", "x"}, {"calendar", "New"}});
    EXPECT_FALSE(refused.UID());
    EXPECT_TRUE(calendar_.toDos.empty());
    EXPECT_TRUE(log_->contains("Error: Calendars cannot be made now."));
    EXPECT_EQ(calendar_.count("core", "crel"), 1u);

    LumettaICalToDo nothing;
    nothing.createToDoInICalUsingDictionary(std::nullopt);
    EXPECT_FALSE(nothing.UID());
}

// Clearing a due date or completion makes the to-do again (a new UID) only when it had one.
TEST_F(ICalToDoTest, ClearingRecreatesOnlyWhatIsThere) {
    const std::string plain = create({{"summary", "no dates"}});
    LumettaICalToDo undated(plain);
    undated.setDueDate(std::nullopt);
    undated.setCompleteStateTo(0);
    EXPECT_EQ(undated.UID(), plain);
    EXPECT_EQ(calendar_.count("core", "delo"), 0u);

    const std::string dated = create({{"summary", "dated"}, {"dueDate", Date{kNow}}, {"description", "n"}});
    LumettaICalToDo toDo(dated);
    toDo.setDueDate(std::nullopt);
    ASSERT_TRUE(toDo.UID());
    EXPECT_NE(toDo.UID(), dated);
    EXPECT_FALSE(calendar_.find(dated));
    const FakeToDo* again = calendar_.find(*toDo.UID());
    ASSERT_TRUE(again);
    EXPECT_FALSE(again->due);
    EXPECT_EQ(again->summary, "dated");
    EXPECT_EQ(again->notes, "n");
    EXPECT_EQ(again->calendar, "Lumetta");

    toDo.setCompleteStateTo(1);
    const std::string completed = *toDo.UID();
    EXPECT_EQ(calendar_.find(completed)->completion->dateValue(), Date{kNow});
    toDo.setCompleteStateTo(Value(0));
    EXPECT_NE(toDo.UID(), completed);
    EXPECT_FALSE(calendar_.find(*toDo.UID())->completion);
}

// Moving a to-do to another calendar makes it there, making the calendar when needed.
TEST_F(ICalToDoTest, SetCalendarMovesTheToDo) {
    const std::string uid = create({{"summary", "move me"}, {"priority", 3}});
    LumettaICalToDo toDo(uid);
    toDo.setCalendar("Errands");
    ASSERT_TRUE(toDo.UID());
    EXPECT_FALSE(calendar_.find(uid));
    EXPECT_EQ(calendar_.find(*toDo.UID())->calendar, "Errands");
    EXPECT_EQ(calendar_.find(*toDo.UID())->priority, platform::appleevents::fourCharCode("tdp5"));
}

// A to-do gone from the calendar: changes, shows and deletes do nothing, properties are
// none, and a delete counts as done.
TEST_F(ICalToDoTest, VanishedToDoIsLeftAlone) {
    LumettaICalToDo toDo(std::string("gone"));
    toDo.setTitle("x");
    toDo.setPriority(3);
    toDo.setDueDate(Date{kNow});
    toDo.setDisplayAlarm(Date{kNow});
    toDo.viewToDoInICal();
    EXPECT_FALSE(toDo.properties());
    EXPECT_TRUE(toDo.isGone());
    EXPECT_EQ(toDo.UID(), "gone");
    EXPECT_TRUE(toDo.deleteICalEvent());
    EXPECT_FALSE(toDo.UID());
    EXPECT_EQ(calendar_.received.size(), calendar_.count("core", "getd")); // only the searches
    LumettaICalToDo none;
    none.setTitle("x");
    EXPECT_FALSE(none.properties());
}

// Only the calendar's word that no such to-do exists makes one gone; silence, the
// calendar's errors (a file it cannot read) and answers of another shape are trouble,
// named, and a delete met by them is not done.
TEST_F(ICalToDoTest, OnlyTheCalendarsWordMakesAToDoGone) {
    using namespace platform::appleevents;
    const auto failing = [](OSStatus number, const char* text) {
        return [number, text](const AppleEvent& e) {
            AppleEvent reply = AppleEvent::replyTo(e);
            reply.setError(number, text);
            return reply;
        };
    };
    const struct {
        const char* name;
        bool removed;                    // the to-do taken out of the calendar first
        bool connected;                  // the calendar reachable at all
        std::optional<OSStatus> getdErr; // every 'getd' answered with this error
        bool textAnswer;                 // every 'getd' answered with text instead
        bool vanishes;                   // found, then gone when its properties are asked for
        bool gone;
        const char* trouble; // part of trouble(); empty for none
    } cases[] = {
        {"found", false, true, {}, false, false, false, ""},
        {"not there", true, true, {}, false, false, true, ""},
        {"gone between search and reading", false, true, {}, false, true, true, ""},
        {"not running", false, false, {}, false, false, false, "not running"},
        {"unreadable file", false, true, errAEEventFailed, false, false, false, "is not a readable to-do"},
        {"no such object to a search", false, true, errAENoSuchObject, false, false, false,
         "is not a readable"},
        {"answer of another shape", false, true, {}, true, false, false, "lists no to-do"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string uid = create({{"summary", c.name}});
        if (c.removed)
            std::erase_if(calendar_.toDos, [&](const FakeToDo& t) { return t.uid == uid; });
        transport_.removeApplication("com.apple.iCal");
        if (c.connected)
            transport_.addApplication("com.apple.iCal", [&](const AppleEvent& e) {
                const bool getd = e.eventID() == fourCharCode("getd");
                if (getd && c.getdErr)
                    return failing(*c.getdErr, "/cal/x.ics is not a readable to-do")(e);
                const AEDesc* asked = e.directObject() ? e.directObject()->param(keyAEKeyData) : nullptr;
                if (getd && c.vanishes && asked && asked->osTypeValue() == fourCharCode("pALL"))
                    return failing(errAENoSuchObject, "Can't get to do.")(e);
                if (getd && c.textAnswer) {
                    AppleEvent reply = AppleEvent::replyTo(e);
                    reply.setParam(keyDirectObject, AEDesc::utf8Text("what?"));
                    return reply;
                }
                return calendar_.handle(e);
            });
        LumettaICalToDo reading(uid);
        EXPECT_EQ(reading.properties().has_value(),
                  !c.removed && c.connected && !c.getdErr && !c.textAnswer && !c.vanishes);
        EXPECT_EQ(reading.isGone(), c.gone);
        if (*c.trouble)
            EXPECT_NE(reading.trouble().value_or("").find(c.trouble), std::string::npos)
                << reading.trouble().value_or("(none)");
        else
            EXPECT_FALSE(reading.trouble()) << *reading.trouble();

        LumettaICalToDo deleting(uid);
        const bool deleted = deleting.deleteICalEvent();
        EXPECT_EQ(deleted, !*c.trouble);
        EXPECT_EQ(deleting.UID().has_value(), !deleted);
        EXPECT_EQ(calendar_.find(uid) != nullptr, !c.removed && !deleted);
        transport_.removeApplication("com.apple.iCal");
        transport_.addApplication("com.apple.iCal",
                                  [this](const AppleEvent& e) { return calendar_.handle(e); });
    }
}

// The calendar's error text is logged when a change is refused.
TEST_F(ICalToDoTest, RefusedChangeIsLogged) {
    LumettaICalToDo toDo(create({{"summary", "x"}}));
    toDo.setURL(std::nullopt);
    EXPECT_EQ(calendar_.count("core", "setd"), 0u);
    ASSERT_TRUE(toDo.properties());          // the reference is stored now
    calendar_.toDos.front().uid = "renamed"; // and names nothing any more
    toDo.setTitle("y");
    EXPECT_TRUE(log_->contains("Error on setting property: Can't get to-do."))
        << ::testing::PrintToString(log_->lines());
}

// Each method starts the calendar first, except setting the url and reading properties;
// finding the to-do starts it too.
TEST_F(ICalToDoTest, MethodsStartTheCalendarAsTheyShould) {
    const std::string uid = create({{"summary", "x"}});
    stopPresence();
    const std::pair<const char*, std::function<void(LumettaICalToDo&)>> cases[] = {
        {"create",
         [](LumettaICalToDo& t) {
             t.createToDoInICalUsingDictionary(Dictionary{{"summary", "y"}});
         }},
        {"title",
         [](LumettaICalToDo& t) {
             t.setTitle("t");
         }},
        {"url",
         [](LumettaICalToDo& t) {
             t.setURL("file:///x.emlx");
         }},
        {"properties",
         [](LumettaICalToDo& t) {
             (void)t.properties();
         }},
        {"view",
         [](LumettaICalToDo& t) {
             t.viewToDoInICal();
         }},
        {"priority",
         [](LumettaICalToDo& t) {
             t.setPriority(1);
         }},
        {"modified since", [](LumettaICalToDo& t) {
             t._fetchToDosModifiedSince(Date{0});
         }}};
    const std::size_t expected[] = {1, 2, 1, 1, 2, 2, 1};
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        log_->clear();
        LumettaICalToDo toDo(uid);
        cases[i].second(toDo);
        EXPECT_EQ(launchAttempts(), expected[i]) << cases[i].first;
    }
}

// Called from another thread, the work happens on the main thread while the caller waits.
TEST_F(ICalToDoTest, WorkRunsOnTheMainThread) {
    const std::string uid = create({{"summary", "x"}});
    std::vector<std::thread::id> handledOn;
    transport_.addApplication("com.apple.iCal", [&](const AppleEvent& e) {
        handledOn.push_back(std::this_thread::get_id());
        return calendar_.handle(e);
    });
    std::optional<Dictionary> seen;
    std::thread worker([&] {
        LumettaICalToDo toDo(uid);
        toDo.setTitle("from a worker");
        seen = toDo.properties();
        loop_.stop();
    });
    loop_.run();
    worker.join();
    ASSERT_TRUE(seen);
    EXPECT_EQ(seen->get("summary"), Value("from a worker"));
    ASSERT_FALSE(handledOn.empty());
    for (const auto id : handledOn)
        EXPECT_EQ(id, std::this_thread::get_id());
}

// Modified since: to-dos changed after the date that point at message files, by identifier;
// a failed query keeps the last answer.
TEST_F(ICalToDoTest, ModifiedSinceListsMessageIdentifiers) {
    calendar_.add("Home", "old").url = "file:///M/Messages/1.emlx";
    clock_->set(Date{kNow + 60});
    calendar_.add("Home", "new").url = "file:///M/Messages/4711.emlx";
    calendar_.add("Home", "no file").url = "https://example.org/";
    calendar_.add("Home", "no url");
    calendar_.add("Home", "partial").url = "file:///M/Messages/7.partial.emlx";
    LumettaICalToDo refresher;
    EXPECT_FALSE(refresher.msgsToUpdate());
    refresher._fetchToDosModifiedSince(Date{kNow + 30});
    ASSERT_TRUE(refresher.msgsToUpdate());
    EXPECT_EQ(Value(*refresher.msgsToUpdate()), Value(platform::Array{"4711", "7.partial"}));
    disconnect();
    refresher._fetchToDosModifiedSince(Date{0});
    EXPECT_EQ(Value(*refresher.msgsToUpdate()), Value(platform::Array{"4711", "7.partial"}));
}
