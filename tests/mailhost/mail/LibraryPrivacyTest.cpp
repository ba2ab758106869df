#include "mailhost/HostClasses.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/mail/Library.h"
#include "support/GoldenFile.h"
#include "support/MessageFileSupport.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace mailhost;
namespace fs = std::filesystem;

namespace {

const char kMessage[] = "From: Ada Lovelace <ada@example.org>\n"
                        "To: Grace Hopper <grace@example.org>\n"
                        "Subject: Launch plan\n"
                        "Message-ID: <plan-1@example.org>\n"
                        "\n"
                        "Private words.\n";

mode_t modeOf(const fs::path& path) {
    struct stat st {};
    ::lstat(path.c_str(), &st);
    return st.st_mode & 07777;
}

// Libraries made under the usual umask, which would leave new files readable by
// everyone on the machine.
class LibraryPrivacyTest : public ::testing::Test {
protected:
    void SetUp() override {
        registerHostClasses();
        oldMask_ = ::umask(022);
    }
    void TearDown() override { ::umask(oldMask_); }

    std::unique_ptr<Library> open(const fs::path& root) {
        auto opened = Library::open(root, true);
        EXPECT_TRUE(opened.ok()) << (opened ? "" : opened.error().message);
        return opened ? std::move(opened.value()) : nullptr;
    }

    testsupport::ScratchFolder scratch_;
    mode_t oldMask_ = 0;
};

TEST_F(LibraryPrivacyTest, ANewLibraryIsItsOwnersAlone) {
    const fs::path root = scratch_.path() / "Data" / "Mail";
    auto library = open(root);
    ASSERT_TRUE(library);
    ASSERT_TRUE(library->createMailbox("Projects/Apollo").ok());
    auto added = library->addMessage("Projects/Apollo", kMessage, 0, 817000000.0);
    ASSERT_TRUE(added.ok()) << added.error().message;

    for (const fs::path& folder :
         {root.parent_path(), root, root / "INBOX.mbox", root / "INBOX.mbox" / "Messages",
          root / "Projects.mbox", root / "Projects.mbox" / "Apollo.mbox",
          root / "Projects.mbox" / "Apollo.mbox" / "Messages"}) {
        ASSERT_TRUE(fs::is_directory(folder)) << folder;
        EXPECT_EQ(modeOf(folder), 0700u) << folder;
    }
    EXPECT_EQ(modeOf(added.value()->path()), 0600u);
    // The two databases and whatever SQLite keeps beside them (-wal, -shm).
    std::size_t databaseFiles = 0;
    for (const auto& entry : fs::directory_iterator(root)) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with("Envelope Index") && !name.starts_with("Metadata.sqlite"))
            continue;
        ++databaseFiles;
        EXPECT_EQ(modeOf(entry.path()), 0600u) << name;
    }
    EXPECT_GE(databaseFiles, 4u);
}

// A message file replaced by a link to a file outside the library: a flag change
// neither writes through the link nor replaces it, and the save names the message.
TEST_F(LibraryPrivacyTest, AFlagChangeOnAMessageFileThatIsALinkFailsAndNamesIt) {
    auto library = open(scratch_.path() / "Mail");
    ASSERT_TRUE(library);
    auto added = library->addMessage("INBOX", kMessage, 0, 817000000.0);
    ASSERT_TRUE(added.ok()) << added.error().message;
    auto message = added.value();
    const fs::path path = message->path();
    // A real message file, so that a write through the link would succeed.
    const fs::path outside = scratch_.path() / "outside.emlx";
    fs::copy_file(path, outside);
    const std::string before = testsupport::readFile(outside);
    fs::remove(path);
    fs::create_symlink(outside, path);

    (void)Library::takeWriteFailures();
    message->setFlags(1ULL << 4);
    Library::flagsChangedForMessages({message});
    EXPECT_FALSE(library->writeChangedMessages().ok());
    const auto failures = Library::takeWriteFailures();
    ASSERT_EQ(failures.size(), 1u);
    EXPECT_EQ(failures[0].rowid, message->libraryID());
    EXPECT_EQ(failures[0].path, path.string());
    EXPECT_NE(failures[0].reason.find("symbolic link"), std::string::npos) << failures[0].reason;
    EXPECT_EQ(testsupport::readFile(outside), before);
    EXPECT_TRUE(fs::is_symlink(path));
    EXPECT_FALSE(EmlxFile::read(path).ok());
}

TEST_F(LibraryPrivacyTest, RefusesMailboxNamesWithControlCharacters) {
    auto library = open(scratch_.path() / "Mail");
    ASSERT_TRUE(library);
    for (const char* name : {"Line\nbreak", "Tab\there", "../Outside"}) {
        auto made = library->createMailbox(name);
        ASSERT_FALSE(made.ok()) << name;
        EXPECT_NE(made.error().message.find("is not a mailbox name"), std::string::npos)
            << made.error().message;
        EXPECT_FALSE(library->index().mailboxNamed(name)) << name;
    }
    EXPECT_FALSE(fs::exists(scratch_.path() / "Outside.mbox"));
}

} // namespace
