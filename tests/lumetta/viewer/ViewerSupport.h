#pragma once

#include "mailhost/mail/Library.h"
#include "mailhost/mail/LibraryMessage.h"
#include "mailhost/viewer/MessageViewer.h"
#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Value.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace viewertest {

// Stands in for a message method without arguments (lumettaSynchroniseWithSpotlight,
// lumettaDeleteToDoInICal) while it lives: every call is recorded, `onCall` runs, and
// the original runs too when `passThrough`. One spy per selector at a time.
class MessageMethodSpy {
public:
    MessageMethodSpy(const std::string& selector, bool passThrough);
    ~MessageMethodSpy();
    MessageMethodSpy(const MessageMethodSpy&) = delete;
    MessageMethodSpy& operator=(const MessageMethodSpy&) = delete;

    std::vector<const platform::runtime::Object*> calls;
    std::function<void(platform::runtime::Object*)> onCall;

private:
    static void record(platform::runtime::Object* self, platform::runtime::Sel selector);
    std::string selector_;
    bool passThrough_;
    void (*saved_)(platform::runtime::Object*, platform::runtime::Sel) = nullptr;
};

// A fresh library with the plug-in loaded, a viewer over it, and a count of the
// notices the commands post.
class ViewerTest : public ::testing::Test {
protected:
    static void SetUpTestSuite();
    void SetUp() override;
    void TearDown() override;

    // A stored message carrying `tags` in its record (and file).
    std::shared_ptr<mailhost::LibraryMessage> add(int n, const platform::Dictionary& tags = {});
    void select(const std::vector<std::shared_ptr<mailhost::LibraryMessage>>& messages);
    // The live record, and the tag keys as the message's file holds them now.
    static platform::Dictionary record(mailhost::Message& message);
    platform::Dictionary fileTags(const mailhost::LibraryMessage& message) const;
    // An attribute of the message's file in the metadata index.
    platform::Value indexed(const mailhost::LibraryMessage& message, const std::string& attribute) const;
    static bool pendingRemoval(mailhost::Message& message, const std::string& key);

    // Sends a viewer command by selector, as a menu does.
    void send(const std::string& selector, const platform::Value& argument);
    void sendAction(const std::string& selector);

    int rulesApplied() const { return rulesApplied_; }

    std::filesystem::path root_;
    std::unique_ptr<mailhost::Library> library_;
    std::unique_ptr<mailhost::MessageViewer> viewer_;

private:
    int rulesApplied_ = 0;
};

} // namespace viewertest
