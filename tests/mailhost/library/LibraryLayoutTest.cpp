#include "mailhost/library/LibraryLayout.h"

#include <gtest/gtest.h>

using namespace mailhost;
namespace fs = std::filesystem;

namespace {

// Paths for every layout, and reading them back.
TEST(LibraryLayout, PathsRoundTripThroughLocate) {
    const LibraryLayout layout("/lib");
    struct Case {
        std::string mailbox;
        std::int64_t rowid;
        bool sharded, partial;
        std::string path;
    };
    const Case cases[] = {
        {"INBOX", 7, false, false, "/lib/INBOX.mbox/Messages/7.emlx"},
        {"Projects/Apollo", 114892, false, true,
         "/lib/Projects.mbox/Apollo.mbox/Messages/114892.partial.emlx"},
        {"INBOX", 114892, true, false, "/lib/INBOX.mbox/Data/4/1/1/Messages/114892.emlx"},
        {"INBOX", 999, true, false, "/lib/INBOX.mbox/Data/Messages/999.emlx"},
        {"Archive", 1234567, true, true, "/lib/Archive.mbox/Data/4/3/2/1/Messages/1234567.partial.emlx"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(layout.messagePath(c.mailbox, c.rowid, c.sharded, c.partial), fs::path(c.path));
        auto where = layout.locate(c.path);
        ASSERT_TRUE(where.has_value()) << c.path;
        EXPECT_EQ(where->mailbox, c.mailbox);
        EXPECT_EQ(where->rowid, c.rowid);
        EXPECT_EQ(where->sharded, c.sharded) << c.path;
        EXPECT_EQ(where->partial, c.partial) << c.path;
    }
    EXPECT_EQ(layout.attachmentsFolder("INBOX", 114892), fs::path("/lib/INBOX.mbox/Attachments/114892"));
}

TEST(LibraryLayout, RefusesPathsThatAreNotMessageFiles) {
    const LibraryLayout layout("/lib");
    for (const char* path :
         {"/lib/INBOX.mbox/Messages/abc.emlx", "/lib/INBOX.mbox/Messages/7.eml", "/lib/INBOX.mbox/7.emlx",
          "/elsewhere/INBOX.mbox/Messages/7.emlx", "/lib/Messages/7.emlx", "/lib/INBOX/Messages/7.emlx",
          "/lib/INBOX.mbox/Data/9/Messages/114892.emlx", "/lib/INBOX.mbox/Messages/0.emlx"})
        EXPECT_FALSE(layout.locate(path).has_value()) << path;
}

} // namespace
