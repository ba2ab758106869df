#include "platform/foundation/UserDefaults.h"

#include "platform/foundation/Log.h"
#include "platform/foundation/PropertyList.h"
#include "support/GoldenFile.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

using namespace platform;
namespace fs = std::filesystem;

namespace {

class UserDefaultsTest : public ::testing::Test {
protected:
    void SetUp() override {
        char tmpl[] = "/tmp/lumetta-defaults-XXXXXX";
        folder_ = mkdtemp(tmpl);
    }
    void TearDown() override { fs::remove_all(folder_); }

    UserDefaults open() const { return UserDefaults("lumetta-mail", folder_); }
    fs::path file() const { return folder_ / "lumetta-mail.plist"; }

    // Runs `body` in a child process and returns its exit status.
    static int inChild(const std::function<int()>& body) {
        const pid_t pid = fork();
        if (pid == 0)
            _exit(body());
        int status = 0;
        waitpid(pid, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    fs::path folder_;
};

// Null removes; removal is written on synchronize like any change.
TEST_F(UserDefaultsTest, NullRemovesAKeyAndTheRemovalPersists) {
    UserDefaults d = open();
    d.setObject("Automatically", "lumettaShowTagsPanel");
    d.setObject(5, "lumettaICalRefreshFrequency");
    ASSERT_TRUE(d.synchronize().ok());
    d.setObject(Value(), "lumettaShowTagsPanel");
    EXPECT_TRUE(d.valueForKey("lumettaShowTagsPanel").isNull());
    ASSERT_TRUE(d.synchronize().ok());
    UserDefaults again = open();
    EXPECT_TRUE(again.valueForKey("lumettaShowTagsPanel").isNull());
    EXPECT_EQ(again.integerForKey("lumettaICalRefreshFrequency"), 5);
}

// Registered defaults answer only where nothing is stored, and never reach the disk.
TEST_F(UserDefaultsTest, RegisteredDefaultsAreFallbacksOnly) {
    UserDefaults d = open();
    d.registerDefaults(Dictionary{{"lumettaAlarmTime", "7:00"}, {"lumettaShowTagIcon", true}});
    d.setObject(false, "lumettaShowTagIcon");
    EXPECT_EQ(d.stringForKey("lumettaAlarmTime"), "7:00");
    EXPECT_FALSE(d.boolForKey("lumettaShowTagIcon"));
    ASSERT_TRUE(d.synchronize().ok());
    auto stored = PropertyList::parse(testsupport::readFile(file()));
    ASSERT_TRUE(stored.ok());
    EXPECT_FALSE(stored.value().dictionary()->contains("lumettaAlarmTime"));
    EXPECT_EQ(stored.value().dictionary()->get("lumettaShowTagIcon"), Value(false));
}

// Another process sees what this one synchronised, and both processes' keys survive.
TEST_F(UserDefaultsTest, ValuesSurviveIntoASecondProcess) {
    UserDefaults parent = open();
    parent.setObject(Array{Dictionary{{"title", "Work"}}}, "lumettaKeyWords");
    ASSERT_TRUE(parent.synchronize().ok());

    const int status = inChild([&] {
        UserDefaults child = open();
        const Value list = child.valueForKey("lumettaKeyWords");
        if (!list.isArray() || list.array()->at(0).dictionary()->get("title").stringValue() != "Work")
            return 3;
        child.setObject("Lumetta", "lumettaDefaultCalendar");
        return child.synchronize().ok() ? 0 : 4;
    });
    ASSERT_EQ(status, 0);

    parent.setObject(true, "lumettaRefreshFromICal");
    ASSERT_TRUE(parent.synchronize().ok());
    EXPECT_EQ(parent.stringForKey("lumettaDefaultCalendar"), "Lumetta");
    UserDefaults fresh = open();
    EXPECT_TRUE(fresh.boolForKey("lumettaRefreshFromICal"));
    EXPECT_EQ(fresh.stringForKey("lumettaDefaultCalendar"), "Lumetta");
    EXPECT_TRUE(fresh.valueForKey("lumettaKeyWords").isArray());
}

TEST_F(UserDefaultsTest, ConcurrentWritersNeverLoseKeysOrBreakTheFile) {
    constexpr int kWriters = 4, kRounds = 25;
    std::vector<pid_t> children;
    for (int w = 0; w < kWriters; ++w) {
        const pid_t pid = fork();
        if (pid == 0) {
            UserDefaults d = open();
            for (int r = 0; r < kRounds; ++r) {
                d.setObject(r, "writer" + std::to_string(w));
                if (!d.synchronize().ok())
                    _exit(1);
            }
            _exit(0);
        }
        children.push_back(pid);
    }
    for (pid_t pid : children) {
        int status = 0;
        waitpid(pid, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    auto stored = PropertyList::parse(testsupport::readFile(file()));
    ASSERT_TRUE(stored.ok()) << stored.error().message;
    for (int w = 0; w < kWriters; ++w)
        EXPECT_EQ(stored.value().dictionary()->get("writer" + std::to_string(w)).intValue(), kRounds - 1);
    for (const auto& entry : fs::directory_iterator(folder_))
        EXPECT_EQ(entry.path().extension() == ".tmp", false) << entry.path();
}

// A damaged file is reported on reading and kept aside, never silently overwritten.
TEST_F(UserDefaultsTest, DamagedFileIsReportedAndMovedAsideBeforeWriting) {
    std::ofstream(file()) << "<plist><dict><key>half";
    ScopedLogCapture log;
    UserDefaults d = open();
    EXPECT_TRUE(d.valueForKey("anything").isNull());
    EXPECT_TRUE(log.contains(file().string()));
    EXPECT_TRUE(fs::exists(file())); // reading alone never moves it
    d.setObject(1, "lumettaDebugLogging");
    ASSERT_TRUE(d.synchronize().ok());
    EXPECT_EQ(testsupport::readFile(folder_ / "lumetta-mail.plist.corrupt"), "<plist><dict><key>half");
    EXPECT_EQ(open().integerForKey("lumettaDebugLogging"), 1);
}

// Collections are copied in and out: editing a list taken from the defaults changes
// nothing stored until it is set again.
TEST_F(UserDefaultsTest, ListsTakenFromTheDefaultsAreCopies) {
    UserDefaults d = open();
    Array list{Dictionary{{"title", "Work"}}};
    d.setObject(list, "lumettaKeyWords");
    list.add(Dictionary{{"title", "after set"}});
    Value taken = d.valueForKey("lumettaKeyWords");
    Dictionary first = *taken.array()->at(0).dictionary(); // shares the taken copy
    first.set("title", "edited in place");
    EXPECT_EQ(d.valueForKey("lumettaKeyWords"), Value(Array{Dictionary{{"title", "Work"}}}));
}

TEST_F(UserDefaultsTest, PersistentDomainsByNameAreSeparateFiles) {
    UserDefaults d = open();
    ASSERT_TRUE(d.setPersistentDomain(Dictionary{{"lumettaX", "1"}}, "org.lumetta.bundle").ok());
    EXPECT_EQ(d.persistentDomainForName("org.lumetta.bundle").get("lumettaX").stringValue(), "1");
    EXPECT_TRUE(d.valueForKey("lumettaX").isNull());
    EXPECT_TRUE(d.persistentDomainForName("absent.domain").empty());
}

TEST_F(UserDefaultsTest, UnwritableFolderIsAnErrorNotACrash) {
    UserDefaults d("lumetta-mail", "/proc/no-such-place/Preferences");
    d.setObject(1, "k");
    auto r = d.synchronize();
    ASSERT_FALSE(r.ok());
    EXPECT_NE(r.error().message.find("/proc/no-such-place"), std::string::npos) << r.error().message;
}

} // namespace
