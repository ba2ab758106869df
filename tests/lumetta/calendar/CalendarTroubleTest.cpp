// What a calendar that stops answering, and to-do files it cannot read, cost the messages
// linked to them: nothing. The command line keeps every link and tag, names what it could
// not settle and exits 1, in seconds rather than a minute per message.
#include "EndToEndSupport.h"
#include "support/GoldenFile.h"

#include <chrono>
#include <csignal>
#include <regex>

using namespace caltodo;
namespace fs = std::filesystem;

namespace {

class CalendarTroubleTest : public CalendarWorld {
protected:
    // `count` messages in a new library, each linked to a to-do due 2030-03-05 whose due
    // date the message has taken over; the to-dos' UIDs and the messages' tags are kept.
    void linkMessages(int count) {
        RUN_OK(init, lumetta("init"));
        for (int n = 1; n <= count; ++n) {
            const fs::path eml = scratch_.path() / ("m" + std::to_string(n) + ".eml");
            testsupport::writeBytes(eml, "From: Bob <bob@example.org>\nSubject: Report " + std::to_string(n) +
                                             "\nMessage-ID: <r" + std::to_string(n) +
                                             "@example.org>\n\nPlease review.\n");
            RUN_OK(imported, lumetta("import '" + eml.string() + "'"));
        }
        for (int n = 1; n <= count; ++n) {
            RUN_OK(created, lumetta("todo create " + std::to_string(n) + " --due 2030-03-05"));
            std::smatch uid;
            ASSERT_TRUE(std::regex_search(created.text, uid, std::regex("created to-do (\\S+) for message")))
                << created.text;
            uids_.push_back(uid[1].str());
        }
        RUN_OK(refreshed, lumetta("refresh"));
        for (int n = 1; n <= count; ++n) {
            tags_.push_back(tags(n));
            ASSERT_NE(tags_.back().find("\"lumettaDueDate\""), std::string::npos) << tags_.back();
        }
    }
    std::string tags(int n) const { return lumetta("--json tags show " + std::to_string(n)).text; }
    fs::path itemOf(const std::string& uid) const {
        for (const auto& entry : fs::recursive_directory_iterator(store()))
            if (entry.path().filename() == uid + ".ics")
                return entry.path();
        return {};
    }
    // Each message holds the tags it held once linked: its link and due date above all.
    void expectTagsKept() {
        for (std::size_t i = 0; i < tags_.size(); ++i)
            EXPECT_EQ(tags(static_cast<int>(i + 1)), tags_[i]) << "message " << i + 1;
    }

    std::vector<std::string> uids_;
    std::vector<std::string> tags_;
};

double secondsFor(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

} // namespace

// A stopped calendar (SIGSTOP) accepts connections and never answers. Refreshes and a
// delete each give up within seconds, exit 1 and say why; no link, tag or to-do is lost,
// and once the calendar runs on, a refresh finds everything as it was.
TEST_F(CalendarTroubleTest, StoppedCalendarCostsNoLinkAndEndsInSeconds) {
    linkMessages(3);
    const pid_t calendar = calendarPid();
    ASSERT_GT(calendar, 0);
    ASSERT_EQ(::kill(calendar, SIGSTOP), 0);
    const struct {
        const char* command;
        std::vector<const char*> says;
    } cases[] = {
        {"refresh", {"did not list the changed to-dos", "did not answer in time"}},
        {"refresh 1 2 3", {"message 1 keeps its link", "message 3 keeps its link"}},
        {"todo delete 2", {"was not deleted, and message 2 stays linked to it", "did not answer in time"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.command);
        CommandOutput output;
        const double seconds = secondsFor([&] { output = lumetta(c.command); });
        EXPECT_EQ(output.status, 1) << output.text;
        EXPECT_LT(seconds, 10.0) << output.text;
        for (const char* part : c.says)
            EXPECT_TRUE(has(output, part)) << part << " not in:\n" << output.text;
    }
    ASSERT_EQ(::kill(calendar, SIGCONT), 0);
    expectTagsKept();
    for (const std::string& uid : uids_)
        EXPECT_FALSE(itemOf(uid).empty()) << uid;
    RUN_OK(again, lumetta("refresh"));
    EXPECT_TRUE(has(again, "0 tags changed")) << again.text;
    expectTagsKept();
}

// Item files another program left truncated, empty or without a UID, and due dates that
// name no real day or no date at all: the refresh names each message whose to-do it could
// not read and exits 1; every message keeps its link and its due date, every file its bytes.
TEST_F(CalendarTroubleTest, DamagedToDoFilesCostNoLinkAndAreNamed) {
    const auto replaceDue = [](const char* line) {
        return [line](const std::string& bytes) {
            return std::regex_replace(bytes, std::regex("DUE[^\r\n]*"), line);
        };
    };
    const struct {
        const char* name;
        std::function<std::string(const std::string&)> damage;
        const char* says;
    } cases[] = {
        {"truncated", [](const std::string& bytes) { return bytes.substr(0, bytes.size() / 2); },
         "cut short"},
        {"empty", [](const std::string&) { return std::string(); }, "empty"},
        {"without UID",
         [](const std::string& bytes) {
             return std::regex_replace(bytes, std::regex("UID:[^\r\n]*\r?\n"), "");
         },
         "no UID"},
        {"due on November 31st", replaceDue("DUE;VALUE=DATE:20301131"), "20301131"},
        {"due at 25:60", replaceDue("DUE:20300305T256000"), "20300305T256000"},
        {"due some time", replaceDue("DUE:soon"), "DUE cannot be read"},
    };
    linkMessages(static_cast<int>(std::size(cases)));
    std::vector<std::string> damaged;
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const fs::path item = itemOf(uids_[i]);
        ASSERT_FALSE(item.empty()) << uids_[i];
        damaged.push_back(cases[i].damage(testsupport::readFile(item)));
        ASSERT_NE(damaged.back(), testsupport::readFile(item)) << cases[i].name;
        testsupport::writeBytes(item, damaged.back());
    }

    const CommandOutput refreshed = lumetta("refresh");
    EXPECT_EQ(refreshed.status, 1) << refreshed.text;
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(cases[i].name);
        const std::regex named("message " + std::to_string(i + 1) + " keeps its link: to-do " + uids_[i] +
                               ": [^\n]*" + std::regex_replace(cases[i].says, std::regex("[.*]"), "\\$&"));
        EXPECT_TRUE(std::regex_search(refreshed.text, named)) << refreshed.text;
        EXPECT_EQ(tags(static_cast<int>(i + 1)), tags_[i]);
        EXPECT_EQ(testsupport::readFile(itemOf(uids_[i])), damaged[i]);
    }
}
