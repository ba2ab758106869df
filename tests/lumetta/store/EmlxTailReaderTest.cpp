#include "lumetta/store/EmlxTailReader.h"

#include "mailhost/library/EmlxFile.h"
#include "support/MessageFileSupport.h"

#include <gtest/gtest.h>

using lumetta::EmlxTailReader;

namespace {

const std::string kPlist = "<?xml version=\"1.0\"?>\n<plist version=\"1.0\">\n<dict/>\n</plist>\n";

// The count line decides where the property list starts; anything that does not fit
// the eleven bytes the reader looks at is no message file to it.
struct TailCase {
    const char* name;
    std::string file;
    std::optional<std::string> tail;
};

TEST(EmlxTailReader, FindsThePropertyListByTheCountLine) {
    const std::string message = "Subject: x\n\nbody\n"; // 17 bytes
    const TailCase cases[] = {
        {"padded count", "17        \n" + message + kPlist, kPlist},
        {"unpadded count", "17\n" + message + kPlist, kPlist},
        {"no property list", "17\n" + message, std::string()},
        {"ten digits", "0000000017\n" + message + kPlist, kPlist},
        {"eleven digits", "00000000017\n" + message + kPlist, std::nullopt},
        {"count past the end", "900\n" + message + kPlist, std::nullopt},
        {"shorter than the count line", "5\nabc", std::nullopt},
        {"empty", "", std::nullopt},
        // No digits read as a count of 0: the "property list" is whatever follows,
        // which then fails to parse.
        {"not a number", "From: a\n\nbody text here\n", std::string("\nbody text here\n")},
    };
    testsupport::ScratchFolder scratch;
    for (const auto& c : cases) {
        const auto path = scratch.path() / "m.emlx";
        testsupport::writeBytes(path, c.file);
        EXPECT_EQ(EmlxTailReader::read(path.string()), c.tail) << c.name;
    }
    bool opened = true;
    EXPECT_EQ(EmlxTailReader::read((scratch.path() / "missing.emlx").string(), &opened), std::nullopt);
    EXPECT_FALSE(opened);
}

// On the client's own files it finds the same property list the host's reader does.
TEST(EmlxTailReader, AgreesWithTheHostOnGenuineFiles) {
    for (const auto& path : testsupport::realMessageFiles()) {
        auto host = mailhost::EmlxFile::read(path);
        ASSERT_TRUE(host.ok()) << path;
        const auto tail = EmlxTailReader::read(path.string());
        if (host.value().condition() == mailhost::EmlxFile::Condition::Truncated)
            EXPECT_EQ(tail, std::nullopt) << path;
        else
            EXPECT_EQ(tail, std::string(host.value().rawTail())) << path;
    }
}

} // namespace
