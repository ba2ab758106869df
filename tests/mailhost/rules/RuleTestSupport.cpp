#include "RuleTestSupport.h"

#include "mailhost/HostClasses.h"
#include "mailhost/criteria/CriterionSyntax.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/rules/RuleActionSyntax.h"

namespace rulestest {

void RuleTest::SetUpTestSuite() {
    mailhost::registerHostClasses();
}

void RuleTest::SetUp() {
    auto opened = mailhost::Library::open(folder_.path() / "Mail", true);
    ASSERT_TRUE(opened.ok()) << opened.error().message;
    library_ = std::move(opened.value());
}

void RuleTest::TearDown() {
    library_.reset();
}

std::shared_ptr<mailhost::LibraryMessage> RuleTest::add(int n, const std::string& subject,
                                                        const std::string& mailbox) {
    const std::string id = std::to_string(n);
    auto added = library_->addMessage(
        mailbox,
        "From: Sender " + id + " <s" + id + "@example.org>\nTo: Ada <ada@example.org>\n" +
            "Subject: " + subject + "\nMessage-ID: <rule-" + id + "@example.org>\n\nBody " + id + ".\n",
        0, 817000000.0 + n);
    EXPECT_TRUE(added.ok());
    return added ? added.value() : nullptr;
}

platform::Dictionary RuleTest::plistOf(const mailhost::LibraryMessage& message) const {
    auto file = mailhost::EmlxFile::read(
        mailhost::Library::dataPathForMessage(const_cast<mailhost::LibraryMessage*>(&message)));
    return file ? file.value().plist() : platform::Dictionary();
}

std::shared_ptr<mailhost::MessageRule> typedRule(const std::string& name,
                                                 std::initializer_list<const char*> criteria,
                                                 std::initializer_list<const char*> actions) {
    auto rule = mailhost::MessageRule::create();
    rule->setRuleName(name);
    for (const char* text : criteria) {
        auto made = mailhost::CriterionSyntax::criterion(text);
        EXPECT_TRUE(made.ok()) << text;
        if (made)
            rule->criteria().push_back(made.value());
    }
    for (const char* text : actions) {
        auto applied = mailhost::RuleActionSyntax::apply(text, *rule);
        EXPECT_TRUE(applied.ok()) << text << ": " << (applied ? "" : applied.error().message);
    }
    return rule;
}

} // namespace rulestest
