#include "FakeCalendarSupport.h"
#include "lumetta/calendar/ICalRefreshPass.h"
#include "lumetta/calendar/MessageCalendarCategory.h"
#include "lumetta/startup/CategoryLoader.h"
#include "lumetta/startup/LumettaBundle.h"
#include "lumetta/store/MessageTags.h"
#include "mailhost/HostClasses.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/Library.h"
#include "platform/appleevents/LongDateTime.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/runtime/Runtime.h"
#include "platform/spotlight/MDItem.h"
#include "support/LocalTime.h"

#include <thread>

using namespace caltodo;
using namespace lumetta;
using platform::Date;
using platform::Dictionary;
using platform::UserDefaults;
using platform::Value;
using platform::appleevents::fourCharCode;
using testsupport::localTime;

namespace {

constexpr double kNow = 800000000;

AEDesc ldt(Date date) {
    return AEDesc::longDateTime(date).value();
}

// Messages in a library with the plug-in loaded, linked to the fake calendar's to-dos.
class MessageCalendarTest : public CalendarClientTest {
protected:
    void SetUp() override {
        CalendarClientTest::SetUp();
        mailhost::registerHostClasses();
        loadCategories();
        auto opened = mailhost::Library::open(scratch_.path() / "Mail", true);
        ASSERT_TRUE(opened.ok()) << opened.error().message;
        library_ = std::move(opened.value());
        clock_ = std::make_unique<platform::ScopedFixedClock>(Date{kNow});
        loop_.setTimeSource([] { return 0.0; });
        UserDefaults& d = UserDefaults::standard();
        d.setObject("Lumetta", "lumettaDefaultCalendar");
        d.setObject("7:00", "lumettaAlarmTime");
        d.setObject(true, "lumettaRefreshFromICal");
        d.setObject(5, "lumettaICalRefreshFrequency");
    }
    void TearDown() override {
        library_.reset();
        clock_.reset();
        CalendarClientTest::TearDown();
    }

    std::shared_ptr<mailhost::LibraryMessage> add(int n) {
        const std::string id = std::to_string(n);
        auto added = library_->addMessage("INBOX",
                                          "From: a@example.org\nSubject: Message " + id +
                                              "\nMessage-ID: <cal-" + id + "@x>\n\nBody.\n",
                                          0, kNow);
        EXPECT_TRUE(added.ok());
        MessageTags::lumettaSetExtraData(*added.value(), "Apollo", "lumettaProject");
        return added.value();
    }
    void create(mailhost::Message& m, Value title, Value date = {}, Value priority = {},
                Value calendar = {}) {
        ASSERT_TRUE(platform::runtime::sendVoid(static_cast<platform::runtime::Object*>(&m),
                                                CalendarSelectors::kCreateToDo, calendar, title, date,
                                                priority, Value("notes")));
    }
    static Value tag(mailhost::Message& m, const char* key) {
        return MessageTags::lumettaExtraDataForKey(m, key);
    }
    static Dictionary fileTags(mailhost::Message& m) {
        auto file = mailhost::EmlxFile::read(mailhost::Library::dataPathForMessage(&m));
        return file ? file.value().plist() : Dictionary();
    }
    FakeToDo& toDoOf(mailhost::Message& m) {
        FakeToDo* toDo = calendar_.find(tag(m, "lumettaICalUID").stringValue());
        EXPECT_TRUE(toDo);
        return toDo ? *toDo : calendar_.toDos.front();
    }
    static void refresh(mailhost::Message& m) {
        platform::runtime::sendVoid(static_cast<platform::runtime::Object*>(&m),
                                    CalendarSelectors::kRefreshFromICal);
    }
    // One refresh pass of a bundle, with the summary it announced.
    Dictionary pass(LumettaBundle& bundle) {
        Dictionary summary;
        auto& center = platform::NotificationCenter::defaultCenter();
        const auto token = center.addObserver(ICalRefreshPass::kToDosWereRefreshed, nullptr,
                                              [&](const platform::Notification& n) { summary = n.userInfo; });
        bundle.refreshICalData();
        center.removeObserver(token);
        return summary;
    }
    LumettaBundle makeBundle() const {
        return LumettaBundle(platform::runtime::Runtime::classNamed(LumettaBundle::kClassName));
    }

    std::unique_ptr<mailhost::Library> library_;
    std::unique_ptr<platform::ScopedFixedClock> clock_;
};

} // namespace

// A new to-do points at the message's file and the message keeps its UID, in the file too.
TEST_F(MessageCalendarTest, CreateLinksTheMessage) {
    auto message = add(1);
    create(*message, "Call Bob", Value(), Value(2));
    const Value uid = tag(*message, "lumettaICalUID");
    ASSERT_TRUE(uid.isString());
    EXPECT_EQ(fileTags(*message).get("lumettaICalUID"), uid);
    const FakeToDo& toDo = toDoOf(*message);
    EXPECT_EQ(toDo.url, "file://" + mailhost::Library::dataPathForMessage(message.get()));
    EXPECT_EQ(toDo.calendar, "Lumetta");
    EXPECT_EQ(toDo.summary, "Call Bob");
    EXPECT_EQ(toDo.notes, "notes");
    EXPECT_EQ(toDo.priority, fourCharCode("tdp9"));
    EXPECT_TRUE(toDo.alarms.empty());
}

// A linked message saved on another thread while the main thread waits for that thread:
// the to-do is pointed at the file once the main thread is free, and nothing hangs.
TEST_F(MessageCalendarTest, WriterThreadDoesNotWaitForTheMainThread) {
    auto message = add(1);
    create(*message, "Call Bob");
    FakeToDo& toDo = toDoOf(*message);
    toDo.url = "file:///elsewhere/1.emlx";
    std::thread writer([&] { MessageTags::lumettaSetExtraData(*message, "Gemini", "lumettaProject"); });
    writer.join();
    EXPECT_EQ(fileTags(*message).get("lumettaProject"), Value("Gemini"));
    EXPECT_EQ(toDo.url, "file:///elsewhere/1.emlx");
    loop_.runUntilIdle();
    EXPECT_EQ(toDo.url, "file://" + mailhost::Library::dataPathForMessage(message.get()));
}

// The alarm on the due day follows "lumettaAlarmTime" when "lumettaSetAlarmWithDueDate" asks.
TEST_F(MessageCalendarTest, AlarmFollowsTheAlarmTime) {
    const Date due = localTime(2026, 3, 5, 15, 30);
    const struct {
        Value enabled;
        Value time;
        std::optional<Date> alarm;
    } cases[] = {{Value(true), Value("7:00"), localTime(2026, 3, 5, 7, 0)},
                 {Value(1), Value("7"), std::nullopt},
                 {Value(1), Value("7:00:00"), std::nullopt},
                 {Value(), Value("7:00"), std::nullopt}};
    int n = 10;
    for (const auto& c : cases) {
        UserDefaults::standard().setObject(c.enabled, "lumettaSetAlarmWithDueDate");
        UserDefaults::standard().setObject(c.time, "lumettaAlarmTime");
        auto message = add(++n);
        create(*message, "Pay", Value(due));
        const FakeToDo& toDo = toDoOf(*message);
        EXPECT_EQ(toDo.due, ldt(due));
        if (c.alarm)
            EXPECT_EQ(toDo.alarms, std::vector<AEDesc>{ldt(*c.alarm)}) << c.time.description();
        else
            EXPECT_TRUE(toDo.alarms.empty()) << c.time.description() << " " << c.enabled.description();
    }
}

// A creation that fails stores no UID; a delete unlinks also when the calendar has no such
// to-do any more.
TEST_F(MessageCalendarTest, FailedCreationAndDeleteLeaveNoLink) {
    calendar_.refuseNewCalendars = true;
    auto message = add(1);
    create(*message, "x", Value(), Value(), Value("Nowhere"));
    EXPECT_TRUE(tag(*message, "lumettaICalUID").isNull());
    EXPECT_FALSE(fileTags(*message).contains("lumettaICalUID"));

    calendar_.refuseNewCalendars = false;
    create(*message, "y");
    ASSERT_EQ(calendar_.toDos.size(), 1u);
    platform::runtime::sendVoid(static_cast<platform::runtime::Object*>(message.get()),
                                CalendarSelectors::kDeleteToDo);
    EXPECT_TRUE(calendar_.toDos.empty());
    EXPECT_FALSE(fileTags(*message).contains("lumettaICalUID"));

    MessageTags::lumettaSetExtraData(*message, "never-there", "lumettaICalUID");
    platform::runtime::sendVoid(static_cast<platform::runtime::Object*>(message.get()),
                                CalendarSelectors::kDeleteToDo);
    EXPECT_TRUE(tag(*message, "lumettaICalUID").isNull());
}

// A calendar that cannot be reached, or cannot read the to-do, settles nothing: a refresh
// and a delete leave the link and every tag, and say why.
TEST_F(MessageCalendarTest, UnsettledToDoKeepsItsLink) {
    using namespace platform::appleevents;
    const struct {
        const char* name;
        bool reachable;
        const char* problem;
    } cases[] = {{"calendar not running", false, "not running"},
                 {"file it cannot read", true, "is not a readable to-do"}};
    int n = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        auto message = add(++n);
        create(*message, "Call Bob", Value(Date{kNow + 86400}), Value(3));
        refresh(*message);
        const Dictionary before = fileTags(*message);
        ASSERT_TRUE(before.get("lumettaICalUID").isString());
        transport_.removeApplication("com.apple.iCal");
        if (c.reachable)
            transport_.addApplication("com.apple.iCal", [](const AppleEvent& e) {
                AppleEvent reply = AppleEvent::replyTo(e);
                reply.setError(errAEEventFailed,
                               "the to-do \"x\" cannot be read: /c/x.ics is not a readable to-do");
                return reply;
            });
        auto* object = static_cast<platform::runtime::Object*>(message.get());
        for (const char* selector : {CalendarSelectors::kRefreshFromICalReportingProblem,
                                     CalendarSelectors::kDeleteToDoReportingProblem}) {
            const auto problem = platform::runtime::send<std::optional<std::string>>(object, selector);
            ASSERT_TRUE(problem && *problem) << selector;
            EXPECT_NE((*problem)->find(c.problem), std::string::npos) << **problem;
            EXPECT_NE((*problem)->find(before.get("lumettaICalUID").stringValue()), std::string::npos);
            EXPECT_TRUE(fileTags(*message).isEqual(before)) << selector;
        }
        transport_.removeApplication("com.apple.iCal");
        transport_.addApplication("com.apple.iCal",
                                  [this](const AppleEvent& e) { return calendar_.handle(e); });
    }
}

// Re-reading copies the to-do's state into the tags, with the priority as text and the
// due date kept when the to-do has none; a vanished to-do unlinks the message.
TEST_F(MessageCalendarTest, RefreshCopiesTheToDoBack) {
    auto message = add(1);
    create(*message, "Call Bob", Value(), Value(4));
    refresh(*message);
    EXPECT_EQ(tag(*message, "lumettaICalToDoTitle"), Value("Call Bob"));
    EXPECT_EQ(tag(*message, "lumettaPriority"), Value("5")); // 4 went out as high
    EXPECT_FALSE(tag(*message, "lumettaICalCompletionDate").isDate());

    FakeToDo& toDo = toDoOf(*message);
    toDo.summary = "Call Bob back";
    toDo.priority = fourCharCode("tdp5");
    toDo.completion = ldt(Date{kNow - 60});
    toDo.due = ldt(Date{kNow + 86400});
    refresh(*message);
    const Dictionary file = fileTags(*message);
    for (const auto& [key, value] :
         std::vector<std::pair<const char*, Value>>{{"lumettaICalToDoTitle", Value("Call Bob back")},
                                                    {"lumettaPriority", Value("3")},
                                                    {"lumettaICalCompletionDate", Value(Date{kNow - 60})},
                                                    {"lumettaDueDate", Value(Date{kNow + 86400})},
                                                    {"lumettaDueDateState", Value(1)},
                                                    {"lumettaProject", Value("Apollo")}}) {
        EXPECT_EQ(tag(*message, key), value) << key;
        EXPECT_EQ(file.get(key), value) << key;
    }
    EXPECT_EQ(MessageTags::lumettaPriority(*message).intValue(), 3);

    toDoOf(*message).completion.reset();
    toDoOf(*message).due.reset();
    toDoOf(*message).summary.reset();
    refresh(*message);
    EXPECT_TRUE(tag(*message, "lumettaICalCompletionDate").isNull());
    EXPECT_TRUE(tag(*message, "lumettaICalToDoTitle").isNull());
    EXPECT_EQ(tag(*message, "lumettaDueDate"), Value(Date{kNow + 86400}));

    toDoOf(*message).completion = ldt(Date{kNow});
    refresh(*message);
    calendar_.toDos.clear();
    refresh(*message);
    EXPECT_TRUE(tag(*message, "lumettaICalUID").isNull());
    EXPECT_TRUE(tag(*message, "lumettaICalCompletionDate").isNull());
    EXPECT_EQ(tag(*message, "lumettaPriority"), Value("3"));
    EXPECT_FALSE(fileTags(*message).contains("lumettaICalUID"));
}

// Whatever a pass does, the next one is armed 600 / frequency seconds later; with the
// calendar not running and "lumettaOpenICalToRefresh" off, nothing is sent.
TEST_F(MessageCalendarTest, PassAlwaysReArms) {
    const struct {
        bool refreshing;
        bool running;
        Value frequency;
        double delay;
    } cases[] = {{false, true, Value(7), 85}, {false, false, Value(0), 600}, {true, false, Value(), 600},
                 {true, true, Value(5), 120}, {true, true, Value(601), 0},   {true, false, Value(1), 600}};
    create(*add(1), "linked");
    for (const auto& c : cases) {
        const std::string label = c.frequency.description() + (c.running ? " running" : " stopped");
        c.running ? startPresence() : stopPresence();
        UserDefaults::standard().setObject(c.refreshing, "lumettaRefreshFromICal");
        UserDefaults::standard().setObject(c.frequency, "lumettaICalRefreshFrequency");
        platform::HeadlessRunLoop loop; // drops the armed pass unrun at the end of the case
        loop.setTimeSource([] { return 0.0; });
        platform::RunLoop::setMain(&loop);
        {
            LumettaBundle bundle = makeBundle();
            bundle.iCalRefresher = std::make_unique<LumettaICalToDo>();
            calendar_.clearTranscript();
            log_->clear();
            const bool asked = c.refreshing && c.running;
            EXPECT_EQ(pass(bundle).get("asked"), Value(asked)) << label;
            EXPECT_EQ(calendar_.received.empty(), !asked) << label;
            EXPECT_EQ(launchAttempts(), 0u) << label;
            EXPECT_EQ(loop.pendingTimerDelays(), std::vector<double>{c.delay}) << label;
        }
        platform::RunLoop::setMain(&loop_);
    }
}

// A pass re-reads the messages whose to-dos changed since the last one; a failed query
// re-reads the previous ones, which keep their links, and holds the date back.
TEST_F(MessageCalendarTest, PassFollowsChangedToDos) {
    std::vector<std::shared_ptr<mailhost::LibraryMessage>> messages;
    for (int n = 1; n <= 3; ++n) {
        messages.push_back(add(n));
        create(*messages.back(), Value("To do " + std::to_string(n)), Value(), Value(n));
    }
    LumettaBundle bundle = makeBundle();
    bundle.iCalRefresher = std::make_unique<LumettaICalToDo>();
    Dictionary first = pass(bundle);
    EXPECT_EQ(first.get("listed"), Value(3));
    EXPECT_EQ(first.get("found"), Value(3));
    EXPECT_EQ(first.get("changes").array()->count(), 6u); // a title and a priority each
    EXPECT_EQ(tag(*messages[1], "lumettaPriority"), Value("1"));
    EXPECT_EQ(UserDefaults::standard().valueForKey("lumettaLastICalRefreshDate"), Value(Date{kNow}));

    clock_->set(Date{kNow + 100});
    FakeToDo& second = toDoOf(*messages[1]);
    second.completion = ldt(Date{kNow + 90});
    calendar_.touch(second);
    const Dictionary next = pass(bundle);
    EXPECT_EQ(next.get("listed"), Value(1));
    ASSERT_EQ(next.get("changes").array()->count(), 1u);
    const Dictionary change = *next.get("changes").array()->first().dictionary();
    EXPECT_EQ(change.get("id"), Value(messages[1]->libraryID()));
    EXPECT_EQ(change.get("key"), Value("lumettaICalCompletionDate"));
    EXPECT_EQ(change.get("new"), Value(Date{kNow + 90}));
    EXPECT_FALSE(change.contains("old"));

    clock_->set(Date{kNow + 200});
    disconnect();
    const Dictionary failed = pass(bundle);
    EXPECT_EQ(failed.get("listed"), Value(1));
    EXPECT_NE(failed.get("trouble").stringValue().find("not running"), std::string::npos)
        << Value(failed).description();
    const Value problems = failed.get("problems");
    ASSERT_EQ(problems.array()->count(), 1u);
    EXPECT_EQ(problems.array()->first().dictionary()->get("id"), Value(messages[1]->libraryID()));
    for (const auto& message : messages)
        EXPECT_TRUE(tag(*message, "lumettaICalUID").isString());
    EXPECT_EQ(tag(*messages[1], "lumettaICalCompletionDate"), Value(Date{kNow + 90}));
    EXPECT_EQ(UserDefaults::standard().valueForKey("lumettaLastICalRefreshDate"), Value(Date{kNow + 100}));
}

// A sweep re-reads only the linked messages whose to-do the calendar does not list: a
// deleted to-do unlinks its message, in the index too; a to-do that lost its url keeps
// its link; a calendar that cannot list its to-dos costs no link at all.
TEST_F(MessageCalendarTest, SweepUnlinksOnlyVanishedToDos) {
    std::vector<std::shared_ptr<mailhost::LibraryMessage>> messages;
    for (int n = 1; n <= 3; ++n) {
        messages.push_back(add(n));
        create(*messages.back(), Value("To do " + std::to_string(n)));
    }
    add(4); // never linked
    LumettaBundle bundle = makeBundle();
    const auto sweep = [&] {
        return platform::runtime::send<Dictionary>(static_cast<platform::runtime::Object*>(&bundle),
                                                   "lumettaSweepVanishedToDos")
            .value_or(Dictionary());
    };
    const auto indexed = [](mailhost::Message& m) {
        return platform::spotlight::MDItemCopyAttribute(
            platform::spotlight::MDItemCreate(mailhost::Library::dataPathForMessage(&m)), "lumettaICalUID");
    };
    ASSERT_TRUE(indexed(*messages[1]).isString());

    const Dictionary whole = sweep();
    EXPECT_EQ(whole.get("linked"), Value(3));
    EXPECT_EQ(whole.get("checked"), Value(0));

    const std::string gone = tag(*messages[1], "lumettaICalUID").stringValue();
    std::erase_if(calendar_.toDos, [&](const FakeToDo& t) { return t.uid == gone; });
    toDoOf(*messages[2]).url.reset();
    const Dictionary swept = sweep();
    EXPECT_EQ(swept.get("checked"), Value(2));
    EXPECT_TRUE(tag(*messages[1], "lumettaICalUID").isNull());
    EXPECT_FALSE(fileTags(*messages[1]).contains("lumettaICalUID"));
    EXPECT_TRUE(indexed(*messages[1]).isNull());
    EXPECT_TRUE(tag(*messages[2], "lumettaICalUID").isString());
    EXPECT_TRUE(tag(*messages[0], "lumettaICalUID").isString());

    calendar_.toDos.clear();
    disconnect();
    const Dictionary silent = sweep();
    EXPECT_FALSE(silent.get("asked").boolValue());
    EXPECT_TRUE(tag(*messages[0], "lumettaICalUID").isString());
    EXPECT_TRUE(tag(*messages[2], "lumettaICalUID").isString());
}

// Messages named by hand are re-read whether or not the calendar lists them as changed;
// rows the library does not have are passed over.
TEST_F(MessageCalendarTest, NamedMessagesAreReread) {
    auto message = add(1);
    create(*message, Value("Call Bob"));
    toDoOf(*message).summary = "Call Bob back"; // changed without a new stamp
    LumettaBundle bundle = makeBundle();
    platform::Array rows;
    rows.add(Value(message->libraryID()));
    rows.add(Value(999));
    const auto reread = platform::runtime::send<Dictionary>(static_cast<platform::runtime::Object*>(&bundle),
                                                            "lumettaRereadMessagesFromICal:", Value(rows));
    ASSERT_TRUE(reread.has_value());
    const Value listed = reread->get("changes");
    const platform::Array* changes = listed.array();
    ASSERT_TRUE(changes);
    ASSERT_EQ(changes->count(), 1u);
    EXPECT_EQ(reread->get("problems"), Value(platform::Array()));
    const Dictionary change = *changes->first().dictionary();
    EXPECT_EQ(change.get("key"), Value("lumettaICalToDoTitle"));
    EXPECT_EQ(change.get("new"), Value("Call Bob back"));
    EXPECT_EQ(tag(*message, "lumettaICalToDoTitle"), Value("Call Bob back"));
}
