#include "mailhost/import/MaildirReader.h"

#include "ImportFiles.h"

#include <chrono>
#include <gtest/gtest.h>

namespace mailhost {
namespace {

void setModificationTime(const std::filesystem::path& path, double unixSeconds) {
    const auto instant =
        std::chrono::system_clock::time_point(std::chrono::duration_cast<std::chrono::system_clock::duration>(
            std::chrono::duration<double>(unixSeconds)));
    std::filesystem::last_write_time(path, std::chrono::file_clock::from_sys(instant));
}

// The info suffix ":2,<flags>" maps to the message's state; anything else carries none.
TEST(MaildirReader, FlagsFromTheFileName) {
    using Flags = MaildirReader::Flags;
    struct Case {
        const char* name;
        Flags flags;
    };
    const Case cases[] = {
        {"1700000000.M1P2.host", {}},
        {"1700000000.M1P2.host:2,", {}},
        {"1700000000.M1P2.host:2,S", {.read = true}},
        {"1700000000.M1P2.host:2,FRS", {.read = true, .answered = true, .flagged = true}},
        {"1700000000.M1P2.host:2,DT", {.draft = true, .deleted = true}},
        {"1700000000.M1P2.host:2,P", {.forwarded = true}},
        {"1700000000.M1P2.host,S=4242:2,Sa", {.read = true}},
        {"1700000000.M1P2.host:2,abc", {}},
        {"1700000000.M1P2.host:1,S", {}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(MaildirReader::flagsFromName(c.name), c.flags) << c.name;
    }
}

// new/ and cur/ are read in the order of the file names; tmp/ and dot files are not.
TEST(MaildirReader, ReadsNewAndCurOnly) {
    TempFolder folder;
    const auto older = folder.write("cur/1000.a:2,S", "Subject: older\n\nseen\n");
    const auto fresh = folder.write("new/1001.b", "Subject: new\n\nunseen\n");
    const auto later = folder.write("cur/1002.c:2,FR", "Subject: later\n\nflagged\n");
    folder.write("tmp/0999.d", "Subject: still arriving\n\n");
    folder.write("cur/.hidden", "Subject: hidden\n\n");
    folder.write("new/.1003.e", "Subject: hidden too\n\n");
    setModificationTime(fresh, 1700000000.5);

    auto reader = MaildirReader::open(folder.path());
    ASSERT_TRUE(reader.ok()) << reader.error().message;
    MessageSource& source = *reader.value();
    EXPECT_EQ(source.totalBytes(), std::filesystem::file_size(older) + std::filesystem::file_size(fresh) +
                                       std::filesystem::file_size(later));

    ImportedMessage message;
    std::vector<std::string> origins;
    while (true) {
        auto next = source.next(message);
        ASSERT_TRUE(next.ok()) << next.error().message;
        if (!next.value()) {
            break;
        }
        origins.push_back(message.origin);
        if (message.origin == fresh.string()) {
            EXPECT_EQ(message.bytes, "Subject: new\n\nunseen\n");
            EXPECT_FALSE(message.read);
            EXPECT_EQ(message.receivedDate, platform::Date::fromUnix(1700000000.5));
        }
        if (message.origin == later.string()) {
            EXPECT_TRUE(message.flagged && message.answered && !message.read);
        }
    }
    EXPECT_EQ(origins, (std::vector<std::string>{older.string(), fresh.string(), later.string()}));
    EXPECT_EQ(source.bytesRead(), source.totalBytes());
}

// An empty message file is reported by path; the next file still comes.
TEST(MaildirReader, EmptyFilesAreReportedAndSkipped) {
    TempFolder folder;
    const auto empty = folder.write("new/1.empty", "");
    folder.write("new/2.full", "Subject: fine\n\n");
    auto reader = MaildirReader::open(folder.path());
    ASSERT_TRUE(reader.ok());
    ImportedMessage message;
    auto first = reader.value()->next(message);
    ASSERT_FALSE(first.ok());
    EXPECT_EQ(first.error().message, empty.string() + ": the file holds no message");
    auto second = reader.value()->next(message);
    ASSERT_TRUE(second.ok() && second.value());
    EXPECT_EQ(message.bytes, "Subject: fine\n\n");
    auto end = reader.value()->next(message);
    EXPECT_TRUE(end.ok() && !end.value());
}

TEST(MaildirReader, FoldersWithoutCurOrNewAreRefused) {
    TempFolder folder;
    folder.write("tmp/1.x", "Subject: s\n\n");
    EXPECT_FALSE(MaildirReader::open(folder.path()).ok());
    EXPECT_FALSE(MaildirReader::open(folder.path() / "missing").ok());
}

} // namespace
} // namespace mailhost
