#pragma once

#include "mailhost/mail/Library.h"
#include "mailhost/mail/LibraryMessage.h"
#include "platform/foundation/Dictionary.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace storetest {

// A message in the client's shape, different for every `n`.
std::string messageText(int n, const std::string& extraHeaders = {});

// A fresh library with the host classes registered and the tag store loaded, as
// the client has them once the bundle is in.
class TaggedLibraryTest : public ::testing::Test {
protected:
    static void SetUpTestSuite();
    void SetUp() override;
    void TearDown() override;

    std::shared_ptr<mailhost::LibraryMessage> add(int n, const std::string& mailbox = "INBOX",
                                                  const std::string& extraHeaders = {});
    // The property list and the bytes before it, as the message's file holds them now.
    static platform::Dictionary filePlist(const std::filesystem::path& path);
    static std::string fileHead(const std::filesystem::path& path);

    std::filesystem::path root_;
    std::unique_ptr<mailhost::Library> library_;
};

} // namespace storetest
