#include "TagStoreSupport.h"

#include "lumetta/startup/CategoryLoader.h"
#include "mailhost/HostClasses.h"
#include "mailhost/library/EmlxFile.h"
#include "platform/foundation/UserDefaults.h"

#include <stdlib.h>

namespace storetest {

namespace fs = std::filesystem;

std::string messageText(int n, const std::string& extraHeaders) {
    const std::string id = std::to_string(n);
    return "From: Sender " + id + " <s" + id + "@example.org>\nTo: reader@example.net\nSubject: Message " +
           id + "\nMessage-ID: <tag-" + id + "@example.org>\n" + extraHeaders + "\nBody of message " + id +
           ".\n";
}

void TaggedLibraryTest::SetUpTestSuite() {
    mailhost::registerHostClasses();
    lumetta::loadCategories();
}

void TaggedLibraryTest::SetUp() {
    char tmpl[] = "/tmp/lumetta-tags-XXXXXX";
    root_ = ::mkdtemp(tmpl);
    // Settings of the test's own, so no user's "lumettaDebugLogging" leaks in.
    ::setenv("XDG_CONFIG_HOME", (root_ / "config").c_str(), 1);
    platform::UserDefaults::resetStandardForTesting();
    auto opened = mailhost::Library::open(root_, true);
    ASSERT_TRUE(opened.ok()) << opened.error().message;
    library_ = std::move(opened.value());
}

void TaggedLibraryTest::TearDown() {
    library_.reset();
    std::error_code ec;
    fs::remove_all(root_, ec);
}

std::shared_ptr<mailhost::LibraryMessage> TaggedLibraryTest::add(int n, const std::string& mailbox,
                                                                 const std::string& extraHeaders) {
    auto added = library_->addMessage(mailbox, messageText(n, extraHeaders), 0, 817000000.0 + n);
    EXPECT_TRUE(added.ok()) << (added ? "" : added.error().message);
    return added ? added.value() : nullptr;
}

platform::Dictionary TaggedLibraryTest::filePlist(const fs::path& path) {
    auto file = mailhost::EmlxFile::read(path);
    return file ? file.value().plist() : platform::Dictionary();
}

std::string TaggedLibraryTest::fileHead(const fs::path& path) {
    auto file = mailhost::EmlxFile::read(path);
    return file ? file.value().bytes().substr(0, file.value().tailOffset()) : std::string();
}

} // namespace storetest
