#include "RulesPluginSupport.h"

#include "lumetta/startup/CategoryLoader.h"
#include "lumetta/store/BulkTagChange.h"
#include "lumetta/store/MessageTags.h"
#include "mailhost/HostClasses.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/rules/ConcreteMessageMall.h"
#include "platform/foundation/UserDefaults.h"

#include <stdlib.h>

namespace rulesplugintest {

void RulesPluginTest::SetUpTestSuite() {
    mailhost::registerHostClasses();
    lumetta::loadCategories();
}

void RulesPluginTest::SetUp() {
    ::setenv("XDG_CONFIG_HOME", (folder_.path() / "config").c_str(), 1);
    platform::UserDefaults::resetStandardForTesting();
    auto opened = mailhost::Library::open(folder_.path() / "Mail", true);
    ASSERT_TRUE(opened.ok()) << opened.error().message;
    library_ = std::move(opened.value());
}

void RulesPluginTest::TearDown() {
    library_.reset();
}

std::shared_ptr<mailhost::LibraryMessage> RulesPluginTest::add(int n, const platform::Dictionary& tags,
                                                               std::uint64_t flags) {
    const std::string id = std::to_string(n);
    auto added =
        library_->addMessage("INBOX",
                             "From: Sender " + id + " <s" + id + "@example.org>\nSubject: Message " + id +
                                 "\nMessage-ID: <plugin-rule-" + id + "@example.org>\n\nBody " + id + ".\n",
                             flags, 817000000.0 + n);
    EXPECT_TRUE(added.ok());
    if (!added)
        return nullptr;
    if (!tags.empty()) {
        lumetta::BulkTagChange change;
        for (const auto& [key, value] : tags.entries())
            change.set(added.value(), key, value);
        change.commit();
    }
    return library_->message(added.value()->libraryID());
}

platform::Dictionary RulesPluginTest::filePlist(const mailhost::LibraryMessage& message) const {
    auto file = mailhost::EmlxFile::read(message.path());
    return file ? file.value().plist() : platform::Dictionary();
}

platform::Value RulesPluginTest::indexed(const mailhost::LibraryMessage& message,
                                         const std::string& attribute) const {
    return library_->metadata()->attribute(message.path().string(), attribute);
}

platform::Dictionary RulesPluginTest::record(mailhost::Message& message) {
    return lumetta::MessageTags::lumettaExtraData(message).value_or(platform::Dictionary());
}

void RulesPluginTest::route(std::initializer_list<std::shared_ptr<mailhost::MessageRule>> rules,
                            const mailhost::MessageList& messages) {
    auto mall = mailhost::ConcreteMessageMall::withRules(rules);
    mall->route(messages, {"INBOX"});
}

std::shared_ptr<mailhost::MessageRule> ruleWith(const platform::Dictionary& actions) {
    auto rule = mailhost::MessageRule::create();
    rule->setRuleName(std::string("Test rule"));
    rule->setOtherInfo(actions);
    return rule;
}

} // namespace rulesplugintest
