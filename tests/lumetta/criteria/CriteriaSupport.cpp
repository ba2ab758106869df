#include "CriteriaSupport.h"

#include "lumetta/startup/CategoryLoader.h"
#include "lumetta/store/MessageTags.h"
#include "mailhost/HostClasses.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/spotlight/query/QueryTime.h"

#include <stdlib.h>

namespace criteriatest {

std::shared_ptr<mailhost::MessageCriterion> criterion(int type, int qualifier, const char* expression) {
    auto c = mailhost::MessageCriterion::create();
    c->setCriterionType(type);
    c->setCriterionIdentifier(mailhost::MessageCriterion::stringForCriterionType(type));
    c->setQualifier(qualifier);
    c->setExpression(expression ? std::optional<std::string>(expression) : std::nullopt);
    return c;
}

void CriteriaTest::SetUpTestSuite() {
    mailhost::registerHostClasses();
    lumetta::loadCategories();
}

void CriteriaTest::SetUp() {
    ::setenv("XDG_CONFIG_HOME", (folder_.path() / "config").c_str(), 1);
    platform::UserDefaults::resetStandardForTesting();
    auto opened = mailhost::Library::open(folder_.path() / "Mail", true);
    ASSERT_TRUE(opened.ok()) << opened.error().message;
    library_ = std::move(opened.value());
}

void CriteriaTest::TearDown() {
    library_.reset();
}

platform::Date CriteriaTest::now() {
    return platform::spotlight::QueryTime::parseIso("2026-03-25T15:30:00+01:00").value_or(platform::Date{});
}

std::shared_ptr<mailhost::Message> CriteriaTest::plainMessage(const platform::Dictionary& tags) {
    std::unique_ptr<platform::runtime::Object> object = mailhost::Message::registerClass().createInstance();
    std::shared_ptr<mailhost::Message> message(dynamic_cast<mailhost::Message*>(object.release()));
    lumetta::MessageTags::lumettaSetExtraDataTo(*message, tags);
    return message;
}

std::shared_ptr<mailhost::LibraryMessage> CriteriaTest::stored(int n) {
    const std::string id = std::to_string(n);
    auto added =
        library_->addMessage("INBOX",
                             "From: Sender " + id + " <s" + id + "@example.org>\nSubject: Message " + id +
                                 "\nMessage-ID: <crit-" + id + "@example.org>\n\nBody " + id + ".\n",
                             0, 817000000.0 + n);
    EXPECT_TRUE(added.ok());
    return added ? added.value() : nullptr;
}

} // namespace criteriatest
