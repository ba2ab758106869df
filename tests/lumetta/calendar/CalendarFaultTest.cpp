#include "EndToEndSupport.h"
#include "lumetta/calendar/ICalRefreshPass.h"
#include "lumetta/calendar/LumettaICalToDo.h"
#include "lumetta/core/MethodReplacement.h"
#include "lumetta/startup/CategoryLoader.h"
#include "lumetta/store/BulkTagChange.h"
#include "lumetta/store/MessageTags.h"
#include "mailhost/HostClasses.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/Library.h"
#include "platform/appleevents/AEInProcessTransport.h"
#include "platform/appleevents/ApplicationRegistry.h"
#include "platform/foundation/HeadlessRunLoop.h"
#include "platform/foundation/UserDefaults.h"
#include "support/GoldenFile.h"

#include <chrono>
#include <csignal>
#include <functional>
#include <iostream>

using namespace caltodo;
namespace fs = std::filesystem;
using mailhost::LibraryMessage;
using platform::Value;
using platform::appleevents::ApplicationRegistry;

namespace {

constexpr int kMessages = 1000;
constexpr int kFaultAt = 500;     // the message whose turn it is when the calendar fails
constexpr long kTimeoutTicks = 6; // 100 ms per waiting event
const Value kCompleted(platform::Date::fromUnix(1893492000)); // 2030-01-01 10:00 GMT

// The pass looks messages up one by one through the host's seam: counting the lookups
// says how far it got, so a fault can strike at an exact message.
using LookupImp = std::shared_ptr<LibraryMessage> (*)(platform::runtime::Class*, platform::runtime::Sel,
                                                      std::int64_t);
LookupImp hostLookup = nullptr;
std::function<void(int)> onLookup;
int lookups = 0;

std::shared_ptr<LibraryMessage> countedLookup(platform::runtime::Class* cls, platform::runtime::Sel sel,
                                              std::int64_t row) {
    if (onLookup)
        onLookup(++lookups);
    return hostLookup(cls, sel, row);
}

void installLookupCounter() {
    static bool installed = false;
    if (installed)
        return;
    installed = true;
    platform::runtime::Runtime::classNamed("Library")->addClassMethod("faultTestMessageWithLibraryID:",
                                                                      &countedLookup);
    hostLookup = lumetta::replaceClassMethod<LookupImp>("messageWithLibraryID:", "Library",
                                                        "faultTestMessageWithLibraryID:", "Library");
}

std::string item(int n, const std::string& url, bool completed) {
    return "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Lumetta tests//EN\r\nBEGIN:VTODO\r\nUID:fault-" +
           std::to_string(n) +
           "\r\nDTSTAMP:20260101T000000Z\r\nLAST-MODIFIED:20260101T000000Z\r\nSUMMARY:Fault " +
           std::to_string(n) + "\r\nURL:" + url + "\r\n" +
           (completed ? "COMPLETED:20300101T100000Z\r\nSTATUS:COMPLETED\r\n" : "STATUS:NEEDS-ACTION\r\n") +
           "END:VTODO\r\nEND:VCALENDAR\r\n";
}

// A thousand messages linked to a thousand to-dos in the real calendar, every to-do
// rewritten in the store since the messages last looked, every tenth completed.
class CalendarFaultTest : public CalendarWorld {
protected:
    void SetUp() override {
        CalendarWorld::SetUp();
        if (IsSkipped())
            return;
        mailhost::registerHostClasses();
        lumetta::loadCategories();
        installLookupCounter();
        platform::RunLoop::setMain(&loop_);
        ApplicationRegistry::registerApplication("com.apple.iCal",
                                                 {calendarProgram_, {"--store", store().string()}});
        platform::UserDefaults::standard().setObject(true, "lumettaRefreshFromICal");
        auto opened = mailhost::Library::open(scratch_.path() / "Mail", true);
        ASSERT_TRUE(opened.ok()) << opened.error().message;
        library_ = std::move(opened.value());
        linkAll();
    }
    void TearDown() override {
        onLookup = nullptr;
        if (hung_ > 0) {
            ::kill(hung_, SIGCONT);
            ::kill(hung_, SIGTERM);
            awaitEnd(hung_);
        }
        messages_.clear();
        library_.reset();
        lumetta::LumettaICalToDo::setEventTimeout(lumetta::LumettaICalToDo::kDefaultEventTimeout);
        platform::RunLoop::setMain(nullptr);
        CalendarWorld::TearDown();
    }

    void linkAll() {
        const fs::path folder = store() / "faults";
        fs::create_directories(folder);
        testsupport::writeBytes(folder / "displayname", "Faults");
        {
            mailhost::Library::BulkAdd bulk(*library_);
            for (int n = 1; n <= kMessages; ++n) {
                const std::string id = std::to_string(n);
                auto added = library_->addMessage("INBOX",
                                                  "From: a@example.org\nSubject: Fault " + id +
                                                      "\nMessage-ID: <fault-" + id + "@x>\n\nBody.\n",
                                                  0, 800000000.0 + n);
                ASSERT_TRUE(added.ok());
                messages_.push_back(added.value());
            }
            ASSERT_TRUE(bulk.commit().ok());
        }
        for (int n = 1; n <= kMessages; ++n)
            testsupport::writeBytes(folder / ("fault-" + std::to_string(n) + ".ics"), item(n, url(n), false));
        ASSERT_TRUE(startCalendar());
        {
            // Linking writes every message file, and each write points its to-do at the file
            // again; here those to-dos already point there, so the calendar is spared it.
            platform::appleevents::AEInProcessTransport nowhere;
            nowhere.addApplication("com.apple.iCal", [](const platform::appleevents::AppleEvent& e) {
                auto reply = platform::appleevents::AppleEvent::replyTo(e);
                reply.setParam(platform::appleevents::keyDirectObject, platform::appleevents::AEDesc::list());
                return reply;
            });
            platform::appleevents::ScopedAETransport spared(nowhere);
            lumetta::BulkTagChange link;
            for (int n = 1; n <= kMessages; ++n) {
                link.set(messages_[n - 1], "lumettaICalUID", "fault-" + std::to_string(n));
                link.set(messages_[n - 1], "lumettaICalToDoTitle", "Fault " + std::to_string(n));
                link.set(messages_[n - 1], "lumettaProject", "Apollo");
            }
            link.commit();
        }
        // Another program goes over every to-do, completing every tenth, writing each item
        // anew under its name: all of them are listed, a hundred have news.
        for (int n = 1; n <= kMessages; ++n) {
            const fs::path path = folder / ("fault-" + std::to_string(n) + ".ics");
            testsupport::writeBytes(path.string() + ".tmp", item(n, url(n), changed(n)));
            fs::rename(path.string() + ".tmp", path);
        }
    }
    static bool changed(int n) { return n % 10 == 0; }
    std::string url(int n) const {
        return "file://" + mailhost::Library::dataPathForMessage(messages_[n - 1].get());
    }

    struct Outcome {
        double seconds = 0;
        long long left = 0;       // not re-read: left for the next pass
        int linked = 0;           // still linked, holding what the to-do says
        int stale = 0;            // still linked, not yet holding the to-do's news
        int unlinked = 0;         // the link and nothing else gone
        std::size_t problems = 0; // messages named as not re-read for the calendar's trouble
    };

    // One pass; `fault` runs when the pass reaches message kFaultAt.
    Outcome pass(const std::function<void()>& fault) {
        lookups = 0;
        onLookup = [&](int n) {
            if (n == kFaultAt && fault)
                fault();
        };
        lumetta::LumettaICalToDo refresher;
        const auto start = std::chrono::steady_clock::now();
        const platform::Dictionary summary = lumetta::ICalRefreshPass::run(refresher);
        lumetta::LumettaICalToDo::setEventTimeout(lumetta::LumettaICalToDo::kDefaultEventTimeout);
        Outcome outcome;
        outcome.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        onLookup = nullptr;
        EXPECT_EQ(summary.get("asked"), Value(true));
        outcome.left = summary.get("left").integerValue();
        const Value problems = summary.get("problems");
        outcome.problems = problems.array() ? problems.array()->count() : 0;
        check(outcome);
        return outcome;
    }

    // Every message and item file whole, and each message brought up to date or left as it
    // was; a link that goes takes nothing else with it.
    void check(Outcome& outcome) {
        for (int n = 1; n <= kMessages; ++n) {
            mailhost::Message& m = *messages_[n - 1];
            auto file = mailhost::EmlxFile::read(mailhost::Library::dataPathForMessage(&m));
            ASSERT_TRUE(file.ok()) << "message " << n << " torn: " << file.error().message;
            const platform::Dictionary plist = file.value().plist();
            const auto record = lumetta::MessageTags::lumettaExtraData(m).value_or(platform::Dictionary());
            for (const char* key : {"lumettaICalUID", "lumettaICalCompletionDate", "lumettaICalToDoTitle",
                                    "lumettaProject", "lumettaPriority", "lumettaDueDate"})
                ASSERT_TRUE(record.get(key).isEqual(plist.get(key))) << n << " " << key;
            EXPECT_EQ(record.get("lumettaProject"), Value("Apollo"));
            EXPECT_EQ(record.get("lumettaICalToDoTitle"), Value("Fault " + std::to_string(n)));
            if (record.contains("lumettaICalUID")) {
                const Value completion = record.get("lumettaICalCompletionDate");
                if (changed(n) && completion.isNull()) {
                    ++outcome.stale;
                } else {
                    EXPECT_EQ(completion, changed(n) ? kCompleted : Value()) << n;
                    ++outcome.linked;
                }
            } else {
                EXPECT_FALSE(record.contains("lumettaICalCompletionDate")) << n;
                ++outcome.unlinked;
            }
        }
        int items = 0;
        for (const auto& entry : fs::directory_iterator(store() / "faults"))
            if (entry.path().extension() == ".ics") {
                ++items;
                EXPECT_NE(testsupport::readFile(entry.path()).find("END:VCALENDAR"), std::string::npos);
            }
        EXPECT_EQ(items, kMessages);
    }

    // A faulty pass stops at the message where the calendar went quiet: that one is named
    // and keeps its link, the ones after it are left as they were, and the date of the last
    // refresh stays.
    void stopsAtTheFault(const Outcome& faulty) {
        EXPECT_EQ(faulty.unlinked, 0);
        EXPECT_EQ(faulty.problems, 1u);
        EXPECT_EQ(faulty.left, kMessages - kFaultAt);
        EXPECT_GT(faulty.stale, 0);
        EXPECT_TRUE(platform::UserDefaults::standard().valueForKey("lumettaLastICalRefreshDate").isNull());
    }

    // The pass after the fault, with the calendar answering again, does what was left.
    void nextPassCompletes(const Outcome& faulty, const char* what) {
        if (calendarPid() <= 0) {
            ASSERT_TRUE(startCalendar()); // as the user would
        }
        const Outcome next = pass(nullptr);
        EXPECT_EQ(next.left, 0);
        EXPECT_EQ(next.stale, 0);
        EXPECT_EQ(next.unlinked, faulty.unlinked) << "the next pass unlinked more";
        std::cout << "[ fault    ] " << what << ": pass of " << kMessages << " took " << faulty.seconds
                  << " s, removed " << faulty.unlinked << " links, left " << faulty.left
                  << " messages; next pass " << next.seconds << " s\n";
        RecordProperty("links_removed", faulty.unlinked);
    }

    platform::HeadlessRunLoop loop_;
    std::unique_ptr<mailhost::Library> library_;
    std::vector<std::shared_ptr<LibraryMessage>> messages_;
    pid_t hung_ = -1;
};

} // namespace

// However the calendar fails mid-pass, the pass ends without waiting out a timeout per
// message, costs no link, and the next pass finishes the work.

// Killed between two messages: the next message's look-up starts it again, and nothing is
// lost but the time to start it. (Killed during a message's own exchange, that message is
// named and the pass stops, as below.)
TEST_F(CalendarFaultTest, KilledCalendar) {
    const Outcome outcome = pass([] {
        const pid_t killed = calendarPid();
        ::kill(killed, SIGKILL);
        awaitEnd(killed);
    });
    EXPECT_EQ(outcome.unlinked, 0);
    EXPECT_EQ(outcome.left, 0);
    EXPECT_EQ(outcome.stale, 0);
    EXPECT_LT(outcome.seconds, 300);
    nextPassCompletes(outcome, "calendar killed");
}

// Killed and its program gone: nothing can start it until it is back.
TEST_F(CalendarFaultTest, CalendarThatCannotStart) {
    const Outcome outcome = pass([this] {
        ApplicationRegistry::registerApplication("com.apple.iCal", {scratch_.path() / "uninstalled", {}});
        const pid_t killed = calendarPid();
        ::kill(killed, SIGKILL);
        awaitEnd(killed);
    });
    stopsAtTheFault(outcome);
    EXPECT_LT(outcome.seconds, 300);
    ApplicationRegistry::registerApplication("com.apple.iCal",
                                             {calendarProgram_, {"--store", store().string()}});
    nextPassCompletes(outcome, "calendar killed, cannot start");
}

// Hanging: one event runs into the timeout, then the pass ends; the calendar answers again
// by the next pass.
TEST_F(CalendarFaultTest, HangingCalendar) {
    const Outcome outcome = pass([this] {
        hung_ = calendarPid();
        ::kill(hung_, SIGSTOP);
        lumetta::LumettaICalToDo::setEventTimeout(kTimeoutTicks);
    });
    stopsAtTheFault(outcome);
    EXPECT_LT(outcome.seconds, 300);
    ::kill(hung_, SIGCONT);
    nextPassCompletes(outcome, "calendar hanging");
}
