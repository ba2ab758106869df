#include "mailhost/import/MboxReader.h"

#include "ImportFiles.h"
#include "mailhost/import/MboxFromLine.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace mailhost {
namespace {

constexpr double kJan3 = 820631134; // 1996-01-03 01:05:34 UTC

// What a source produced, in order: each message or each error.
struct Outcome {
    bool ok = false;
    std::string text; // the message bytes, or the error message
    std::string origin;
    std::uint64_t byteOffset = 0;
    std::optional<platform::Date> received;
};

std::vector<Outcome> drain(MessageSource& source) {
    std::vector<Outcome> outcomes;
    ImportedMessage message;
    for (int guard = 0; guard < 100000; ++guard) {
        auto next = source.next(message);
        if (next && !next.value()) {
            break;
        }
        if (next) {
            outcomes.push_back(
                {true, message.bytes, message.origin, message.byteOffset, message.receivedDate});
        } else {
            outcomes.push_back({false, next.error().message, {}, 0, {}});
        }
    }
    return outcomes;
}

std::vector<Outcome> readMbox(const std::filesystem::path& path, MboxReaderOptions options = {}) {
    auto reader = MboxReader::open(path, options);
    if (!reader) {
        ADD_FAILURE() << reader.error().message;
        return {};
    }
    return drain(*reader.value());
}

std::string withCrlf(const std::string& text) {
    std::string out;
    for (char c : text) {
        out += c == '\n' ? std::string("\r\n") : std::string(1, c);
    }
    return out;
}

const std::string kTwoMessages = "From alice@example.org Sat Jan  3 01:05:34 1996\n"
                                 "Subject: one\n"
                                 "\n"
                                 ">From here on\n"
                                 ">>From the archive\n"
                                 "From the point of view of a sentence\n"
                                 "\n"
                                 "From bob@example.org Sun Jan  4 10:00:00 1996\n"
                                 "Subject: two\n"
                                 "\n"
                                 "body two\n"
                                 "\n";

// Escaped "From " lines are unescaped the way the file's writer escaped them.
TEST(MboxReader, QuotedFromLinesAreUnquoted) {
    TempFolder folder;
    const auto path = folder.write("quoted.mbox", kTwoMessages);
    struct Case {
        MboxReaderOptions::Quoting quoting;
        const char* firstMessage;
    };
    const Case cases[] = {
        {MboxReaderOptions::Quoting::Mboxrd,
         "Subject: one\n\nFrom here on\n>From the archive\nFrom the point of view of a sentence\n"},
        {MboxReaderOptions::Quoting::Mboxo,
         "Subject: one\n\nFrom here on\n>>From the archive\nFrom the point of view of a sentence\n"},
    };
    for (const Case& c : cases) {
        MboxReaderOptions options;
        options.quoting = c.quoting;
        const auto outcomes = readMbox(path, options);
        ASSERT_EQ(outcomes.size(), 2u);
        EXPECT_EQ(outcomes[0].text, c.firstMessage);
        EXPECT_EQ(outcomes[1].text, "Subject: two\n\nbody two\n");
    }
}

// Each entry names its file and line, starts at its "From " line and carries its date.
TEST(MboxReader, EntriesKnowWhereAndWhenTheyCameFrom) {
    TempFolder folder;
    const auto path = folder.write("where.mbox", kTwoMessages);
    const auto outcomes = readMbox(path);
    ASSERT_EQ(outcomes.size(), 2u);
    EXPECT_EQ(outcomes[0].origin, path.string() + ":line 1");
    EXPECT_EQ(outcomes[1].origin, path.string() + ":line 8");
    EXPECT_EQ(outcomes[0].byteOffset, 0u);
    EXPECT_EQ(outcomes[1].byteOffset, kTwoMessages.find("From bob"));
    EXPECT_EQ(outcomes[0].received, platform::Date::fromUnix(kJan3));
    EXPECT_EQ(outcomes[1].received, platform::Date::fromUnix(kJan3 + 86400 + 8 * 3600 + 54 * 60 + 26));
}

// The writers' many layouts of the "From " line date.
TEST(MboxFromLine, ReadsTheDateInItsCommonLayouts) {
    struct Case {
        const char* line;
        std::optional<double> unixSeconds;
    };
    const Case cases[] = {
        {"From alice@example.org Sat Jan  3 01:05:34 1996\n", kJan3},
        {"From - Sat Jan 03 01:05:34 1996\r\n", kJan3},
        {"From MAILER-DAEMON Sat Jan  3 02:05:34 +0100 1996", kJan3},
        {"From alice@example.org Sat Jan  3 01:05:34 1996 -0130", kJan3 + 5400},
        {"From alice@example.org Sat, 3 Jan 1996 01:05:34 +0000", kJan3},
        {"From alice@example.org Sat Jan  3 01:05 1996", kJan3 - 34},
        {"From alice@example.org Sat Jan  3 01:05:34 96", kJan3},
        {"From alice@example.org", std::nullopt},
        {"From the archive we learn a lot", std::nullopt},
        {"From alice@example.org Sat Jan 32 01:05:34 1996", std::nullopt},
        {"From alice@example.org Sat Jan  3 25:05:34 1996", std::nullopt},
        {"From alice@example.org Sat Foo  3 01:05:34 1996", std::nullopt},
        {"Subject: Sat Jan  3 01:05:34 1996", std::nullopt},
    };
    for (const Case& c : cases) {
        const auto date = MboxFromLine::parseDate(c.line);
        ASSERT_EQ(date.has_value(), c.unixSeconds.has_value()) << c.line;
        if (date) {
            EXPECT_EQ(date->unixSeconds(), *c.unixSeconds) << c.line;
        }
    }
}

// The last message may end without a line break; its bytes end where the file does.
TEST(MboxReader, LastMessageWithoutTrailingNewline) {
    TempFolder folder;
    const auto path = folder.write("cut.mbox", "From a@b Sat Jan  3 01:05:34 1996\nSubject: x\n\nfirst\n\n"
                                               "From a@b Sat Jan  3 01:05:35 1996\nSubject: y\n\nlast line");
    const auto outcomes = readMbox(path);
    ASSERT_EQ(outcomes.size(), 2u);
    EXPECT_EQ(outcomes[0].text, "Subject: x\n\nfirst\n");
    EXPECT_EQ(outcomes[1].text, "Subject: y\n\nlast line");
}

// CRLF files split and unquote like LF ones and keep their line ends.
TEST(MboxReader, CrlfFiles) {
    TempFolder folder;
    const auto path = folder.write("windows.mbox", withCrlf(kTwoMessages));
    const auto outcomes = readMbox(path);
    ASSERT_EQ(outcomes.size(), 2u);
    EXPECT_EQ(
        outcomes[0].text,
        withCrlf("Subject: one\n\nFrom here on\n>From the archive\nFrom the point of view of a sentence\n"));
    EXPECT_EQ(outcomes[1].text, withCrlf("Subject: two\n\nbody two\n"));
    EXPECT_EQ(outcomes[0].received, platform::Date::fromUnix(kJan3));
}

// An empty file is an mbox without messages; a file that does not start with "From " is no mbox.
TEST(MboxReader, EmptyAndForeignFiles) {
    TempFolder folder;
    auto empty = MboxReader::open(folder.write("empty.mbox", ""));
    ASSERT_TRUE(empty.ok()) << empty.error().message;
    EXPECT_TRUE(drain(*empty.value()).empty());
    EXPECT_EQ(empty.value()->totalBytes(), 0u);

    auto foreign = MboxReader::open(folder.write("letter.eml", "Subject: hi\n\nFrom me\n"));
    ASSERT_FALSE(foreign.ok());
    EXPECT_NE(foreign.error().message.find("not an mbox"), std::string::npos);

    EXPECT_FALSE(MboxReader::open(folder.path() / "missing.mbox").ok());
}

// Bad entries are reported with their line, and reading goes on with the next entry.
TEST(MboxReader, MalformedEntriesAreReportedAndSkipped) {
    TempFolder folder;
    const std::string big(300, 'x');
    const auto path = folder.write(
        "mixed.mbox", "From a@b Sat Jan  3 01:05:34 1996\n\n"
                      "From a@b Sat Jan  3 01:05:35 1996\nSubject: fine\n\nok\n\n"
                      "From a@b Sat Jan  3 01:05:36 1996\nSubject: big\n\n" +
                          big + "\n\n" + "From a@b Sat Jan  3 01:05:37 1996\nSubject: after\n\nok\n");
    MboxReaderOptions options;
    options.maxMessageBytes = 200;
    const auto outcomes = readMbox(path, options);
    ASSERT_EQ(outcomes.size(), 4u);
    EXPECT_FALSE(outcomes[0].ok);
    EXPECT_EQ(outcomes[0].text, path.string() + ":line 1: the entry holds no message");
    EXPECT_TRUE(outcomes[1].ok);
    EXPECT_EQ(outcomes[1].text, "Subject: fine\n\nok\n");
    EXPECT_FALSE(outcomes[2].ok);
    EXPECT_EQ(outcomes[2].text, path.string() + ":line 8: the message is larger than 200 bytes; skipped");
    EXPECT_TRUE(outcomes[3].ok);
    EXPECT_EQ(outcomes[3].text, "Subject: after\n\nok\n");
}

std::string generatedMbox(int messages, std::string* longLine) {
    std::string mbox;
    *longLine = std::string(200 * 1024, 'L');
    for (int i = 0; i < messages; ++i) {
        mbox += "From sender" + std::to_string(i) + "@example.org Sat Jan  3 01:05:34 1996\n";
        mbox += "Subject: message " + std::to_string(i) + "\nMessage-ID: <" + std::to_string(i) +
                "@example.org>\n\n";
        if (i == messages / 2) {
            mbox += *longLine + "\n";
        }
        for (int line = 0; line < 50; ++line) {
            mbox += (line % 10 == 3 ? ">From " : "Line ") + std::to_string(line) +
                    " of a body long enough to make the file several megabytes.\n";
        }
        mbox += "\n";
    }
    return mbox;
}

// A file many times the buffer streams through: progress grows with every message, a
// line longer than the buffer arrives whole, and the end accounts for every byte.
TEST(MboxReader, LargeFilesStreamWithBoundedReadAhead) {
    TempFolder folder;
    std::string longLine;
    const std::string contents = generatedMbox(1500, &longLine);
    ASSERT_GT(contents.size(), 5u * 1024 * 1024);
    const auto path = folder.write("large.mbox", contents);

    auto reader = MboxReader::open(path);
    ASSERT_TRUE(reader.ok());
    MessageSource& source = *reader.value();
    EXPECT_EQ(source.totalBytes(), contents.size());
    EXPECT_LT(source.bytesRead(), 1024u);

    ImportedMessage message;
    std::uint64_t previous = source.bytesRead();
    int count = 0;
    while (true) {
        auto next = source.next(message);
        ASSERT_TRUE(next.ok()) << next.error().message;
        if (!next.value()) {
            break;
        }
        if (count == 0) {
            EXPECT_LT(source.bytesRead(), 16u * 1024) << "the first message needs only its own bytes";
        }
        EXPECT_GT(source.bytesRead(), previous);
        EXPECT_LE(source.bytesRead() - previous, message.bytes.size() + 128);
        previous = source.bytesRead();
        if (count == 750) {
            EXPECT_NE(message.bytes.find("\n" + longLine + "\n"), std::string::npos);
        }
        EXPECT_EQ(message.bytes.find(">From "), std::string::npos);
        ++count;
    }
    EXPECT_EQ(count, 1500);
    EXPECT_EQ(source.bytesRead(), contents.size());
}

// The size of the read-ahead never changes what is read.
TEST(MboxReader, BufferSizeDoesNotChangeTheMessages) {
    TempFolder folder;
    const std::string longQuote = std::string(100, '>') + "From deep quoting\n";
    const std::string contents = kTwoMessages +
                                 "From carol@example.org Mon Jan  5 10:00:00 1996\nSubject: three\n\n" +
                                 std::string(1000, 'z') + "\n" + longQuote + "From x\n" + withCrlf("crlf\n");
    const auto path = folder.write("buffers.mbox", contents);
    const auto expected = readMbox(path);
    ASSERT_EQ(expected.size(), 3u);
    EXPECT_NE(expected[2].text.find("\n" + longQuote.substr(1)), std::string::npos);
    for (std::size_t bufferBytes : {1, 256, 257, 300, 999, 1024}) {
        MboxReaderOptions options;
        options.bufferBytes = bufferBytes;
        const auto outcomes = readMbox(path, options);
        ASSERT_EQ(outcomes.size(), expected.size()) << bufferBytes;
        for (std::size_t i = 0; i < outcomes.size(); ++i) {
            EXPECT_EQ(outcomes[i].text, expected[i].text) << bufferBytes << " #" << i;
            EXPECT_EQ(outcomes[i].origin, expected[i].origin) << bufferBytes << " #" << i;
            EXPECT_EQ(outcomes[i].byteOffset, expected[i].byteOffset) << bufferBytes << " #" << i;
        }
    }
}

} // namespace
} // namespace mailhost
