#include "EndToEndSupport.h"

#include <regex>

using namespace caltodo;
namespace fs = std::filesystem;

namespace {

class CommandLineCalendarTest : public CalendarWorld {
protected:
    // One tagged message in a new library; the calendar started by the client itself.
    void makeTaggedMessage() {
        testsupport::writeBytes(
            scratch_.path() / "m.eml",
            "From: Bob <bob@example.org>\nTo: me@example.org\nSubject: Quarterly report\n"
            "Message-ID: <q1@example.org>\nDate: Mon, 4 May 2026 10:00:00 +0200\n\nPlease "
            "review.\n");
        RUN_OK(init, lumetta("init"));
        RUN_OK(imported, lumetta("import '" + (scratch_.path() / "m.eml").string() + "'"));
        RUN_OK(tagged, lumetta("tags set 1 lumettaProject Apollo"));
    }
    std::vector<fs::path> items() const {
        std::vector<fs::path> found;
        for (const auto& entry : fs::recursive_directory_iterator(store()))
            if (entry.path().extension() == ".ics")
                found.push_back(entry.path());
        return found;
    }
};

} // namespace

// A to-do made from a message and completed, un-completed and re-prioritised in todoman comes
// back into the message's record, file and index entry; a deleted one unlinks the message.
TEST_F(CommandLineCalendarTest, TodomanChangesComeBackIntoTheMessage) {
    if (!hasTodoman())
        GTEST_SKIP() << "todoman is not installed (apt-get install todoman): the round trip through a to-do "
                        "program of its own is not checked";
    makeTaggedMessage();
    ASSERT_GT(calendarPid(), 0) << "the client's start-up did not start the calendar";
    RUN_OK(created, lumetta("todo create 1 --priority 2 --due 2030-03-05"));
    ASSERT_TRUE(has(created, "created to-do ")) << created.text;
    ASSERT_EQ(items().size(), 1u);

    RUN_OK(listed, todoman("--porcelain list"));
    std::smatch id;
    ASSERT_TRUE(std::regex_search(listed.text, id, std::regex("\"id\": (\\d+)"))) << listed.text;
    RUN_OK(done, todoman("done " + id[1].str()));
    RUN_OK(first, lumetta("refresh"));
    EXPECT_TRUE(has(first, "1 lumettaICalCompletionDate: (none) -> ")) << first.text;
    RUN_OK(completed, lumetta("--json tags show 1"));
    const std::regex completion("\"lumettaICalCompletionDate\":\"[0-9T:Z-]+\"");
    const auto count = [](const std::string& text, const std::regex& pattern) {
        return std::distance(std::sregex_iterator(text.begin(), text.end(), pattern), std::sregex_iterator());
    };
    EXPECT_EQ(count(completed.text, completion), 2) << "record and file: " << completed.text;
    EXPECT_TRUE(has(completed, "\"lumettaPriority\":\"1\"")) << "2 comes back as 1: " << completed.text;
    RUN_OK(indexed, lumetta("mdls 1"));
    EXPECT_TRUE(has(indexed, "lumettaICalCompletionDate")) << indexed.text;

    // todoman has no command to take a completion back; its raw editing does it.
    const fs::path undo = scratch_.path() / "undo.sh";
    testsupport::writeBytes(undo, "#!/bin/sh\nsed -i -e '/^COMPLETED/d' -e '/^PERCENT-COMPLETE/d' "
                                  "-e 's/^STATUS:COMPLETED/STATUS:NEEDS-ACTION/' \"$1\"\n");
    fs::permissions(undo, fs::perms::owner_all);
    RUN_OK(reopened, todoman("edit --raw " + id[1].str(), "EDITOR='" + undo.string() + "'"));
    RUN_OK(second, lumetta("refresh"));
    EXPECT_TRUE(has(second, "lumettaICalCompletionDate: ")) << second.text;
    RUN_OK(uncompleted, lumetta("--json tags show 1"));
    EXPECT_FALSE(has(uncompleted, "lumettaICalCompletionDate")) << uncompleted.text;
    RUN_OK(unindexed, lumetta("mdls 1"));
    EXPECT_FALSE(has(unindexed, "lumettaICalCompletionDate")) << unindexed.text;

    RUN_OK(medium, todoman("edit --priority medium " + id[1].str()));
    RUN_OK(third, lumetta("refresh"));
    RUN_OK(prioritised, lumetta("--json tags show 1"));
    EXPECT_EQ(count(prioritised.text, std::regex("\"lumettaPriority\":\"3\"")), 2) << prioritised.text;
    RUN_OK(shown, lumetta("todo show 1"));
    EXPECT_TRUE(has(shown, "priority: 3")) << shown.text;

    // A to-do deleted in the calendar unlinks its message on the next refresh.
    fs::remove(items().front());
    RUN_OK(swept, lumetta("refresh"));
    EXPECT_TRUE(has(swept, "1 lumettaICalUID: ")) << swept.text;
    RUN_OK(unlinked, lumetta("--json tags show 1"));
    EXPECT_FALSE(has(unlinked, "lumettaICalUID")) << unlinked.text;
    EXPECT_TRUE(has(unlinked, "\"lumettaProject\":\"Apollo\"")) << unlinked.text;
    RUN_OK(unlinkedIndex, lumetta("mdls 1"));
    EXPECT_FALSE(has(unlinkedIndex, "lumettaICalUID")) << unlinkedIndex.text;
}

// The client's start-up starts the calendar only when "lumettaOpenICalAtLaunch" says so; a
// refresh without a running calendar asks nothing unless "lumettaOpenICalToRefresh" says so.
TEST_F(CommandLineCalendarTest, CalendarStartsOnlyWhenAsked) {
    makeTaggedMessage();
    ASSERT_GT(calendarPid(), 0);
    RUN_OK(off, lumetta("defaults write lumettaOpenICalAtLaunch -bool NO"));
    stopCalendar();
    RUN_OK(quiet, lumetta("mailboxes"));
    EXPECT_EQ(calendarPid(), -1);
    const CommandOutput skipped = lumetta("refresh");
    EXPECT_EQ(skipped.status, 1);
    EXPECT_TRUE(has(skipped, "not refreshed: the calendar application is not running")) << skipped.text;
    EXPECT_EQ(calendarPid(), -1);

    RUN_OK(allowed, lumetta("defaults write lumettaOpenICalToRefresh -bool YES"));
    RUN_OK(refreshed, lumetta("refresh"));
    EXPECT_TRUE(has(refreshed, "refreshed: 0 to-dos listed")) << refreshed.text;
    EXPECT_GT(calendarPid(), 0);
    const CommandOutput unlinked = lumetta("todo show 1");
    EXPECT_EQ(unlinked.status, 1);
    EXPECT_TRUE(has(unlinked, "is not linked to a to-do")) << unlinked.text;
    const CommandOutput wrong = lumetta("todo create 1 --due 5/3/2030");
    EXPECT_EQ(wrong.status, 2);
}
