#pragma once

#include "mailhost/mail/Library.h"
#include "mailhost/rules/MessageRule.h"
#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Value.h"
#include "support/MessageFileSupport.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <memory>
#include <string>

namespace rulesplugintest {

// The host with the plug-in loaded, settings of the test's own, and a fresh library.
class RulesPluginTest : public ::testing::Test {
protected:
    static void SetUpTestSuite();
    void SetUp() override;
    void TearDown() override;

    // A stored message whose file carries `tags`, and `flags`.
    std::shared_ptr<mailhost::LibraryMessage> add(int n, const platform::Dictionary& tags = {},
                                                  std::uint64_t flags = 0);
    // The tag keys and flag word of the message's file as it is now, and an attribute of
    // it in the metadata index.
    platform::Dictionary filePlist(const mailhost::LibraryMessage& message) const;
    platform::Value indexed(const mailhost::LibraryMessage& message, const std::string& attribute) const;
    // The live record of a message.
    static platform::Dictionary record(mailhost::Message& message);
    // Routes the messages through the rules, as arriving mail.
    void route(std::initializer_list<std::shared_ptr<mailhost::MessageRule>> rules,
               const mailhost::MessageList& messages);

    testsupport::ScratchFolder folder_;
    std::unique_ptr<mailhost::Library> library_;
};

// A rule whose extra dictionary holds exactly `actions`.
std::shared_ptr<mailhost::MessageRule> ruleWith(const platform::Dictionary& actions);

} // namespace rulesplugintest
