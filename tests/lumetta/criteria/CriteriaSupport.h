#pragma once

#include "mailhost/criteria/MessageCriterion.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/Message.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Dictionary.h"
#include "support/MessageFileSupport.h"

#include <gtest/gtest.h>
#include <memory>

namespace criteriatest {

// A criterion of a tag type with its saved identifier, as the editors make them.
std::shared_ptr<mailhost::MessageCriterion> criterion(int type, int qualifier, const char* expression);

// The host and the plug-in's categories loaded, settings of the test's own, and a mail
// library in a scratch folder for the tests that need stored messages.
class CriteriaTest : public ::testing::Test {
protected:
    static void SetUpTestSuite();
    void SetUp() override;
    void TearDown() override;

    // Wednesday 25 March 2026, 15:30 in the pinned zone.
    static platform::Date now();
    // A message outside the library whose record holds exactly `tags`.
    std::shared_ptr<mailhost::Message> plainMessage(const platform::Dictionary& tags);
    // A stored message, different for every `n`.
    std::shared_ptr<mailhost::LibraryMessage> stored(int n);

    testsupport::ScratchFolder folder_;
    std::unique_ptr<mailhost::Library> library_;
};

} // namespace criteriatest
