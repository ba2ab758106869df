#include "mailhost/library/EmlxFile.h"

#include "platform/foundation/Value.h"
#include "support/GoldenFile.h"
#include "support/MessageFileSupport.h"

#include <gtest/gtest.h>

using mailhost::EmlxFile;
using platform::Dictionary;
using platform::Value;
using Condition = EmlxFile::Condition;
namespace fs = std::filesystem;

namespace {

const std::string kPlist = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                           "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                           "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                           "<plist version=\"1.0\">\n<dict>\n\t<key>flags</key>\n\t<integer>1</integer>\n"
                           "</dict>\n</plist>\n";

// Genuine files: what the client wrote is read as it is meant.
struct RealFile {
    const char* name;
    Condition condition;
    std::size_t messageOffset;
    std::size_t messageLength;
    std::int64_t flags; // 0 where no property list can be read
};

TEST(EmlxFileReal, ReadsEveryGenuineFileOrSaysWhatIsWrong) {
    const RealFile files[] = {
        {"01-mail10.3-full-multipart-alt-114862.emlx", Condition::Ok, 11, 2945, 8623750272},
        {"02-mail10.3-partial-4att-114892.partial.emlx", Condition::Ok, 11, 17829, 8623689857},
        {"03-unpadded-count-php-mailer-11507.emlx", Condition::Ok, 5, 3685, 8623750272},
        {"05-EDITED-N-mismatch-apple-mail-2.936-136153.partial.emlx", Condition::Truncated, 11, 2150 - 11, 0},
        {"08-SYNTH-N-short-by-2-issue5-114895.partial.emlx", Condition::Ok, 11, 17827, 8623689857},
        {"09-mail9.1-b64-utf8-subject-real-dates-crb912-1.emlx", Condition::Ok, 11, 16062, 8590132225},
    };
    for (const RealFile& f : files) {
        SCOPED_TRACE(f.name);
        auto read = EmlxFile::read(testsupport::realMessagesFolder() / f.name);
        ASSERT_TRUE(read.ok()) << read.error().message;
        const EmlxFile& file = read.value();
        EXPECT_EQ(file.condition(), f.condition) << file.problem();
        EXPECT_EQ(file.problem().empty(), f.condition == Condition::Ok);
        EXPECT_EQ(file.messageOffset(), f.messageOffset);
        EXPECT_EQ(file.messageLength(), f.messageLength);
        EXPECT_EQ(file.messageBytes().size(), f.messageLength);
        EXPECT_EQ(file.plist().get("flags").integerValue(), f.flags);
        if (f.condition == Condition::Ok) {
            EXPECT_EQ(file.tailOffset(), f.messageOffset + f.messageLength);
            EXPECT_TRUE(file.rawTail().starts_with("<?xml"));
        } else {
            EXPECT_TRUE(file.plist().empty());
            EXPECT_TRUE(file.rawTail().empty());
            EXPECT_GT(file.tailOffset(), file.bytes().size());
        }
    }
}

TEST(EmlxFileReal, KeepsRealDatesAndHighFlagBits) {
    auto read = EmlxFile::read(testsupport::realMessagesFolder() /
                               "09-mail9.1-b64-utf8-subject-real-dates-crb912-1.emlx");
    ASSERT_TRUE(read.ok());
    const Value received = read.value().plist().get("date-received");
    EXPECT_TRUE(received.isReal());
    EXPECT_EQ(received.doubleValue(), 1565148386.0);
    EXPECT_EQ(read.value().plist().get("flags").integerValue() >> 32, 2); // above the 32 bits of old clients
}

// Composing: a new file is byte for byte what the client writes.
TEST(EmlxFileCompose, RebuildsGenuinePaddedFilesExactly) {
    for (const char* name :
         {"01-mail10.3-full-multipart-alt-114862.emlx", "02-mail10.3-partial-4att-114892.partial.emlx",
          "08-SYNTH-N-short-by-2-issue5-114895.partial.emlx"}) {
        SCOPED_TRACE(name);
        auto read = EmlxFile::read(testsupport::realMessagesFolder() / name);
        ASSERT_TRUE(read.ok());
        auto composed = EmlxFile::compose(read.value().messageBytes(), read.value().plist());
        ASSERT_TRUE(composed.ok()) << composed.error().message;
        EXPECT_EQ(composed.value(), read.value().bytes());
        EXPECT_EQ(EmlxFile::tailBytes(read.value().plist()).value(), read.value().rawTail());
    }
}

TEST(EmlxFileCompose, PadsTheCountToTenCharactersAndReadsBack) {
    const Dictionary plist{{"flags", 1}};
    auto composed = EmlxFile::compose("hello\n", plist);
    ASSERT_TRUE(composed.ok());
    EXPECT_EQ(composed.value(), "6         \nhello\n" + kPlist);

    auto back = EmlxFile::parse(composed.value());
    ASSERT_TRUE(back.ok());
    EXPECT_TRUE(back.value().ok());
    EXPECT_EQ(back.value().messageBytes(), "hello\n");
    EXPECT_TRUE(back.value().plist().isEqual(plist));
}

TEST(EmlxFileCompose, RefusesAPropertyListItCannotWrite) {
    const Dictionary plist{{"list", platform::Array{Value()}}};
    EXPECT_FALSE(EmlxFile::compose("hello\n", plist).ok());
    EXPECT_FALSE(EmlxFile::tailBytes(plist).ok());
}

// Damaged files: not a message file at all is an error; a sound count line with a
// bad rest is a readable file with a problem.
struct Damaged {
    const char* what;
    std::string bytes;
    bool readable;
    Condition condition;
    std::string message;
};

TEST(EmlxFileDamaged, RefusesOrFlagsEveryKindOfDamage) {
    const std::string cut = kPlist.substr(0, kPlist.size() / 2);
    const Damaged cases[] = {
        {"empty file", "", false, {}, ""},
        {"no line ending", "2945", false, {}, ""},
        {"count is a word", "abc\nhello\n", false, {}, ""},
        {"count line empty", "\nhello\n", false, {}, ""},
        {"count with leading blank", " 6\nhello\n", false, {}, ""},
        {"count with trailing word", "6 x\nhello\n", false, {}, ""},
        {"negative count", "-6\nhello\n", false, {}, ""},
        {"count beyond 64 bits", "99999999999999999999\nhello\n", false, {}, ""},
        {"first line too long", std::string(40, '1') + "\nhello\n", false, {}, ""},
        {"count larger than file", "100       \nhello\n", true, Condition::Truncated, "hello\n"},
        {"count near 2^64", "9999999999\nhello\n", true, Condition::Truncated, "hello\n"},
        // The tag store reads the count from the first eleven bytes alone.
        {"padding past ten characters", "6" + std::string(10, ' ') + "\nhello\n" + kPlist, false, {}, ""},
        {"eleven digits", "00000000006\nhello\n" + kPlist, false, {}, ""},
        {"no property list", "6\nhello\n", true, Condition::MissingPropertyList, "hello\n"},
        {"only a blank line after", "6\nhello\n\n", true, Condition::MissingPropertyList, "hello\n"},
        {"property list cut short", "6\nhello\n" + cut, true, Condition::UnreadablePropertyList, "hello\n"},
        // Message text after the counted bytes: never mistaken for a damaged property list.
        {"count too small", "4\nhello\n" + kPlist, true, Condition::Miscounted, "hell"},
        {"count of zero", "0\nhello\n" + kPlist, true, Condition::Miscounted, ""},
        {"count too small, no property list", "2\nhello\n", true, Condition::Miscounted, "he"},
        {"property list after a blank line", "6\nhello\n\n" + kPlist, true, Condition::Ok, "hello\n"},
        {"property list not a dictionary", "6\nhello\n<plist><array/></plist>\n", true,
         Condition::UnreadablePropertyList, "hello\n"},
        {"CRLF inside the message", "13\nhi\r\nthere\r\n\r\n" + kPlist, true, Condition::Ok,
         "hi\r\nthere\r\n\r\n"},
        {"CRLF after the count", "6\r\nhello\n" + kPlist, true, Condition::Ok, "hello\n"},
        {"tab padding", "6\t\nhello\n" + kPlist, true, Condition::Ok, "hello\n"},
        {"empty message", "0\n" + kPlist, true, Condition::Ok, ""},
    };
    for (const Damaged& c : cases) {
        SCOPED_TRACE(c.what);
        auto parsed = EmlxFile::parse(c.bytes);
        ASSERT_EQ(parsed.ok(), c.readable)
            << (parsed.ok() ? parsed.value().problem() : parsed.error().message);
        if (!c.readable) {
            EXPECT_FALSE(parsed.error().message.empty());
            continue;
        }
        const EmlxFile& file = parsed.value();
        EXPECT_EQ(file.condition(), c.condition) << file.problem();
        EXPECT_EQ(file.messageBytes(), c.message);
        EXPECT_EQ(file.problem().empty(), c.condition == Condition::Ok);
        EXPECT_EQ(file.plist().empty(), c.condition != Condition::Ok);
    }
}

TEST(EmlxFileDamaged, ReadingAMissingFileIsAnErrorNamingIt) {
    auto read = EmlxFile::read("/nonexistent/1.emlx");
    ASSERT_FALSE(read.ok());
    EXPECT_NE(read.error().message.find("/nonexistent/1.emlx"), std::string::npos);
}

} // namespace
