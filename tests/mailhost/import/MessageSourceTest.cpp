#include "mailhost/import/MessageSource.h"

#include "ImportFiles.h"
#include "platform/foundation/Value.h"
#include "support/MessageFileSupport.h"

#include <fstream>
#include <gtest/gtest.h>
#include <sstream>

namespace mailhost {
namespace {

std::string fixture(const std::string& name) {
    return testsupport::readRealMessage(name);
}

std::string emlx(const std::string& message, long long flags) {
    return std::to_string(message.size()) + "\n" + message +
           "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
           "\t<key>date-received</key>\n\t<integer>1516985072</integer>\n"
           "\t<key>flags</key>\n\t<integer>" +
           std::to_string(flags) + "</integer>\n</dict>\n</plist>\n";
}

// Everything one source yields: the origins of its messages and its errors.
struct Drained {
    std::vector<ImportedMessage> messages;
    std::vector<std::string> errors;
};

Drained drain(const std::filesystem::path& path) {
    Drained drained;
    auto source = MessageSource::open(path);
    if (!source) {
        drained.errors.push_back("open: " + source.error().message);
        return drained;
    }
    ImportedMessage message;
    while (true) {
        auto next = source.value()->next(message);
        if (!next) {
            drained.errors.push_back(next.error().message);
            continue;
        }
        if (!next.value()) {
            break;
        }
        drained.messages.push_back(message);
    }
    EXPECT_EQ(source.value()->bytesRead(), source.value()->totalBytes()) << path;
    return drained;
}

// The kind of source follows the folder layout, the first bytes and the name.
TEST(MessageSource, PicksTheReaderForThePath) {
    TempFolder folder;
    const std::string mbox = "From a@b Sat Jan  3 01:05:34 1996\nSubject: one\n\n1\n\n"
                             "From a@b Sat Jan  3 01:05:35 1996\nSubject: two\n\n2\n";
    const auto maildirMessage = folder.write("Maildir/cur/1.x:2,S", "Subject: maildir\n\n");
    folder.write("Exported.mbox/mbox", mbox);
    folder.write("Exported.mbox/Table of Contents", "binary index");
    const auto unnamedMbox = folder.write("archive.txt", mbox);
    const auto emptyMbox = folder.write("empty.mbox", "");
    const auto eml = folder.write("note.eml", "Subject: note\r\n\r\nbody\r\n");

    struct Case {
        std::filesystem::path path;
        std::vector<std::string> origins;
    };
    const Case cases[] = {
        {folder.path() / "Maildir", {maildirMessage.string()}},
        {folder.path() / "Exported.mbox",
         {(folder.path() / "Exported.mbox/mbox").string() + ":line 1",
          (folder.path() / "Exported.mbox/mbox").string() + ":line 6"}},
        {unnamedMbox, {unnamedMbox.string() + ":line 1", unnamedMbox.string() + ":line 6"}},
        {emptyMbox, {}},
        {eml, {eml.string()}},
    };
    for (const Case& c : cases) {
        const Drained drained = drain(c.path);
        EXPECT_TRUE(drained.errors.empty()) << c.path << ": " << drained.errors.front();
        std::vector<std::string> origins;
        for (const ImportedMessage& message : drained.messages) {
            origins.push_back(message.origin);
        }
        EXPECT_EQ(origins, c.origins) << c.path;
    }
    EXPECT_EQ(drain(eml).messages.at(0).bytes, "Subject: note\r\n\r\nbody\r\n");
}

// An .emlx gives its message bytes and the flags and arrival date it records.
TEST(MessageSource, EmlxFilesGiveMessageAndRecordedState) {
    TempFolder folder;
    const std::string real = fixture("09-mail9.1-b64-utf8-subject-real-dates-crb912-1.emlx");
    const auto path = folder.write("1.emlx", real);
    const Drained drained = drain(path);
    ASSERT_EQ(drained.messages.size(), 1u);
    const ImportedMessage& message = drained.messages[0];
    EXPECT_EQ(message.bytes, real.substr(11, 16062));
    EXPECT_EQ(message.byteOffset, 11u);
    EXPECT_EQ(message.receivedDate, platform::Date::fromUnix(1565148386));
    EXPECT_TRUE(message.read);
    EXPECT_FALSE(message.flagged || message.answered || message.draft || message.deleted ||
                 message.forwarded);

    struct Case {
        long long flags;
        bool read, deleted, answered, flagged, draft, forwarded;
    };
    const Case cases[] = {
        {0, false, false, false, false, false, false},
        {1 | 2 | 4 | 16 | 64 | 256, true, true, true, true, true, true},
        {(1ll << 33) | 4 | 16, false, false, true, true, false, false},
    };
    for (const Case& c : cases) {
        const Drained one = drain(folder.write("flags.emlx", emlx("Subject: s\n\nbody\n", c.flags)));
        ASSERT_EQ(one.messages.size(), 1u) << c.flags;
        const ImportedMessage& m = one.messages[0];
        EXPECT_EQ(m.bytes, "Subject: s\n\nbody\n");
        EXPECT_EQ(m.receivedDate, platform::Date::fromUnix(1516985072));
        EXPECT_EQ((std::vector<bool>{m.read, m.deleted, m.answered, m.flagged, m.draft, m.forwarded}),
                  (std::vector<bool>{c.read, c.deleted, c.answered, c.flagged, c.draft, c.forwarded}))
            << c.flags;
    }
}

// What an .emlx record holds beyond flags and dates travels with the message; what
// names its old place (a server's identifier, the mailbox it came from) does not.
TEST(MessageSource, EmlxFilesCarryTheirOtherProperties) {
    TempFolder folder;
    const std::string message = "Subject: s\n\nbody\n";
    const std::string file = std::to_string(message.size()) + "\n" + message +
                             "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n"
                             "<key>flags</key><integer>1</integer>"
                             "<key>date-received</key><integer>1516985072</integer>"
                             "<key>remote-id</key><string>4711</string>"
                             "<key>original-mailbox</key><string>imap://old/INBOX</string>"
                             "<key>color</key><string>FF0000</string>"
                             "<key>lumettaKeyWords</key><array><string>Work</string></array>"
                             "</dict>\n</plist>\n";
    const Drained drained = drain(folder.write("1.emlx", file));
    ASSERT_EQ(drained.messages.size(), 1u);
    const platform::Dictionary& carried = drained.messages[0].properties;
    std::vector<std::string> keys;
    for (const auto& [key, value] : carried.entries())
        keys.push_back(key);
    EXPECT_EQ(keys, (std::vector<std::string>{"color", "lumettaKeyWords"}));
    EXPECT_EQ(carried.get("lumettaKeyWords"), platform::Value(platform::Array{platform::Value("Work")}));
    // Other sources bring nothing but the message.
    EXPECT_TRUE(drain(folder.write("2.eml", message)).messages.at(0).properties.empty());
}

// Paths and files that hold no importable message are errors that say why.
TEST(MessageSource, UnusablePathsAndFilesAreErrors) {
    TempFolder folder;
    folder.write("plain folder/readme.txt", "hello");
    struct Case {
        std::filesystem::path path;
        std::string errorPart;
    };
    const Case cases[] = {
        {folder.path() / "missing.mbox", "no such file or folder"},
        {folder.path() / "plain folder", "neither a Maildir folder"},
        {folder.write("short.emlx", fixture("05-EDITED-N-mismatch-apple-mail-2.936-136153.partial.emlx")),
         "the byte count says"},
        {folder.write("nocount.emlx", "Subject: s\n\nbody\n"), "byte count"},
        {folder.write("picture.eml", std::string("\x89PNG\r\n\x1a\n\0\0\0", 11)),
         "does not look like a mail message"},
        {folder.write("notes.mbox", "Subject: not an mbox\n\n"), "not an mbox file"},
    };
    for (const Case& c : cases) {
        const Drained drained = drain(c.path);
        EXPECT_TRUE(drained.messages.empty()) << c.path;
        ASSERT_EQ(drained.errors.size(), 1u) << c.path;
        EXPECT_NE(drained.errors[0].find(c.errorPart), std::string::npos) << drained.errors[0];
    }
}

} // namespace
} // namespace mailhost
