#pragma once

#include "mailhost/mail/Library.h"
#include "mailhost/rules/MessageRule.h"
#include "platform/foundation/Dictionary.h"
#include "support/MessageFileSupport.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <memory>
#include <string>

namespace rulestest {

// A fresh mail library with the host's classes, and the means to make rules the way
// the command line types them.
class RuleTest : public ::testing::Test {
protected:
    static void SetUpTestSuite();
    void SetUp() override;
    void TearDown() override;

    // A stored message in `mailbox`, different for every `n`.
    std::shared_ptr<mailhost::LibraryMessage> add(int n, const std::string& subject,
                                                  const std::string& mailbox = "INBOX");
    // The property list of a message's file as it is now.
    platform::Dictionary plistOf(const mailhost::LibraryMessage& message) const;

    testsupport::ScratchFolder folder_;
    std::unique_ptr<mailhost::Library> library_;
};

// A rule with typed criteria and actions (as `lumetta rules add` reads them).
std::shared_ptr<mailhost::MessageRule> typedRule(const std::string& name,
                                                 std::initializer_list<const char*> criteria,
                                                 std::initializer_list<const char*> actions);

} // namespace rulestest
