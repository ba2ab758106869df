#include "mailhost/mail/LibraryAdoption.h"

#include "mailhost/HostClasses.h"
#include "mailhost/mail/Library.h"
#include "support/GoldenFile.h"
#include "support/MessageFileSupport.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>

using namespace mailhost;
namespace fs = std::filesystem;

namespace {


class LibraryAdoptionTest : public ::testing::Test {
protected:
    void SetUp() override {
        registerHostClasses();
        char tmpl[] = "/tmp/lumetta-adopt-XXXXXX";
        dir_ = mkdtemp(tmpl);
    }
    void TearDown() override {
        if (!dir_.empty()) {
            fs::permissions(dir_, fs::perms::owner_all, fs::perm_options::add);
            fs::remove_all(dir_);
        }
    }

    // Places a fixture at `relative` below `root`, writable as a copied folder is.
    fs::path place(const fs::path& root, const std::string& fixture, const fs::path& relative) {
        const fs::path to = root / relative;
        fs::create_directories(to.parent_path());
        fs::copy_file(testsupport::realMessage(fixture), to);
        fs::permissions(to, fs::perms::owner_read | fs::perms::owner_write);
        return to;
    }

    fs::path dir_;
};

// A whole mail folder: indexed where it lies, row numbers from the file names, every
// byte of every file as it was, damaged files reported.
TEST_F(LibraryAdoptionTest, MailFolderBecomesALibraryWithoutChangingAFile) {
    const fs::path root = dir_ / "Mail";
    std::map<fs::path, std::string> before;
    for (const auto& [fixture, relative] : std::vector<std::pair<std::string, fs::path>>{
             {"01-mail10.3-full-multipart-alt-114862.emlx", "INBOX.mbox/Messages/114862.emlx"},
             {"02-mail10.3-partial-4att-114892.partial.emlx",
              "Work.mbox/Data/4/1/1/Messages/114892.partial.emlx"},
             {"09-mail9.1-b64-utf8-subject-real-dates-crb912-1.emlx", "Work.mbox/Old.mbox/Messages/1.emlx"},
             {"05-EDITED-N-mismatch-apple-mail-2.936-136153.partial.emlx",
              "INBOX.mbox/Messages/136153.partial.emlx"},
         }) {
        const fs::path file = place(root, fixture, relative);
        before[file] = testsupport::readFile(file);
    }
    place(root, "03-unpadded-count-php-mailer-11507.emlx", "INBOX.mbox/stray.emlx");

    auto report = LibraryAdoption::adoptLibrary(root);
    ASSERT_TRUE(report.ok()) << report.error().message;
    EXPECT_EQ(report.value().messages, 4u);
    EXPECT_EQ(report.value().mailboxes, 3u);
    ASSERT_EQ(report.value().skipped.size(), 1u); // the stray file outside Messages/
    for (const auto& [file, bytes] : before)
        EXPECT_EQ(testsupport::readFile(file), bytes) << file;

    auto library = Library::open(root, false);
    ASSERT_TRUE(library.ok());
    auto partial = library.value()->message(114892);
    ASSERT_TRUE(partial);
    EXPECT_EQ(partial->mailboxName(), "Work");
    EXPECT_TRUE(partial->sharded());
    EXPECT_EQ(partial->path(), root / "Work.mbox/Data/4/1/1/Messages/114892.partial.emlx");
    EXPECT_EQ(partial->subject(), "Fwd: Lorem ipsum");
    EXPECT_EQ(library.value()->message(1)->mailboxName(), "Work/Old");
    EXPECT_EQ(library.value()->message(114862)->flags(), 8623750272ULL);
    EXPECT_FALSE(fs::exists(root / "Drafts.mbox")); // nothing added but the index

    // Adopting again finds everything known already.
    auto again = LibraryAdoption::adoptLibrary(root);
    ASSERT_TRUE(again.ok());
    EXPECT_EQ(library.value()->index().messageCount(), 4u);
}

TEST_F(LibraryAdoptionTest, RefusesReadOnlyFoldersAndFoldersWithoutMailboxes) {
    const fs::path root = dir_ / "Mail";
    place(root, "01-mail10.3-full-multipart-alt-114862.emlx", "INBOX.mbox/Messages/114862.emlx");
    fs::permissions(root, fs::perms::owner_read | fs::perms::owner_exec);
    auto refused = LibraryAdoption::adoptLibrary(root);
    ASSERT_FALSE(refused.ok());
    EXPECT_NE(refused.error().message.find("read-only"), std::string::npos);
    EXPECT_FALSE(fs::exists(root / "Envelope Index"));
    fs::permissions(root, fs::perms::owner_all);

    fs::create_directories(dir_ / "Empty");
    EXPECT_FALSE(LibraryAdoption::adoptLibrary(dir_ / "Empty").ok());
    EXPECT_FALSE(fs::exists(dir_ / "Empty" / "Envelope Index"));
}

// One mailbox folder is copied in: free row numbers kept, taken ones replaced, a
// partial message's attachments moved along with it.
TEST_F(LibraryAdoptionTest, MailboxFolderIsCopiedIntoTheLibrary) {
    auto library = Library::open(dir_ / "Library", true);
    ASSERT_TRUE(library.ok());
    auto taken = library.value()->addMessage("INBOX", "Subject: first\n\nhello\n", 0, 0);
    ASSERT_TRUE(taken.ok());
    const fs::path box = dir_ / "Copied.mbox";
    place(box, "02-mail10.3-partial-4att-114892.partial.emlx", "Messages/114892.partial.emlx");
    place(box, "01-mail10.3-full-multipart-alt-114862.emlx",
          "Messages/" + std::to_string(taken.value()->libraryID()) + ".emlx");
    fs::create_directories(box / "Attachments/114892/2.2");
    std::ofstream(box / "Attachments/114892/2.2/short.txt") << "attachment";

    auto report = LibraryAdoption::adoptMailbox(*library.value(), box, "Copied");
    ASSERT_TRUE(report.ok()) << report.error().message;
    EXPECT_EQ(report.value().messages, 2u);
    auto kept = library.value()->message(114892);
    ASSERT_TRUE(kept);
    EXPECT_EQ(kept->mailboxName(), "Copied");
    EXPECT_TRUE(fs::exists(library.value()->layout().attachmentsFolder("Copied", 114892) / "2.2/short.txt"));
    const auto copied = library.value()->messagesInMailbox("Copied");
    EXPECT_EQ(copied.size(), 2u);
    EXPECT_EQ(library.value()->message(taken.value()->libraryID())->mailboxName(), "INBOX"); // untouched
    EXPECT_FALSE(
        LibraryAdoption::adoptMailbox(*library.value(), dir_ / "Library", "X").ok()); // not a mailbox
}

} // namespace
