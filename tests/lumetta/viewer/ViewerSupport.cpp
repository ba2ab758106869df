#include "ViewerSupport.h"

#include "lumetta/startup/CategoryLoader.h"
#include "mailhost/HostClasses.h"
#include "mailhost/library/EmlxFile.h"
#include "mailhost/viewer/DialogAnswers.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Send.h"

#include <map>
#include <stdlib.h>

namespace viewertest {

namespace fs = std::filesystem;
using platform::Dictionary;
using platform::Value;

namespace {

std::map<std::string, MessageMethodSpy*, std::less<>>& activeSpies() {
    static std::map<std::string, MessageMethodSpy*, std::less<>> spies;
    return spies;
}

using NoArgumentImp = void (*)(platform::runtime::Object*, platform::runtime::Sel);

// Installs `imp` as the implementation of `selector` in LibraryMessage's chain; the
// previous one, or nullptr when the chain had none (the method is then added).
NoArgumentImp install(const std::string& selector, NoArgumentImp imp) {
    static int serial = 0;
    platform::runtime::Class& host = *platform::runtime::Runtime::classNamed("LibraryMessage");
    if (!host.instanceMethod(selector)) {
        host.addInstanceMethod(selector, imp);
        return nullptr;
    }
    // A class of its own holds the implementation to put in place.
    const std::string name = "ViewerTestMethods" + std::to_string(++serial);
    platform::runtime::Runtime::defineClass(name).addInstanceMethod("stand-in", imp);
    return reinterpret_cast<NoArgumentImp>(
        platform::runtime::Runtime::replaceInstanceMethod(selector, "LibraryMessage", "stand-in", name));
}

} // namespace

MessageMethodSpy::MessageMethodSpy(const std::string& selector, bool passThrough)
    : selector_(selector), passThrough_(passThrough) {
    activeSpies()[selector] = this;
    saved_ = install(selector, &MessageMethodSpy::record);
}

MessageMethodSpy::~MessageMethodSpy() {
    activeSpies().erase(selector_);
    if (saved_)
        install(selector_, saved_);
}

void MessageMethodSpy::record(platform::runtime::Object* self, platform::runtime::Sel selector) {
    auto found = activeSpies().find(selector);
    if (found == activeSpies().end())
        return;
    MessageMethodSpy& spy = *found->second;
    spy.calls.push_back(self);
    if (spy.onCall)
        spy.onCall(self);
    if (spy.passThrough_ && spy.saved_)
        spy.saved_(self, selector);
}

void ViewerTest::SetUpTestSuite() {
    mailhost::registerHostClasses();
    lumetta::loadCategories();
}

void ViewerTest::SetUp() {
    char tmpl[] = "/tmp/lumetta-viewer-XXXXXX";
    root_ = ::mkdtemp(tmpl);
    ::setenv("XDG_CONFIG_HOME", (root_ / "config").c_str(), 1);
    platform::UserDefaults::resetStandardForTesting();
    auto opened = mailhost::Library::open(root_, true);
    ASSERT_TRUE(opened.ok()) << opened.error().message;
    library_ = std::move(opened.value());
    viewer_ = mailhost::MessageViewer::make();
    ASSERT_TRUE(viewer_);
    platform::NotificationCenter::defaultCenter().addObserver(
        "LURulesWereApplied", nullptr, [this](const auto&) { ++rulesApplied_; }, this);
    mailhost::DialogAnswers::shared().clear();
}

void ViewerTest::TearDown() {
    platform::NotificationCenter::defaultCenter().removeObserversOwnedBy(this);
    mailhost::DialogAnswers::shared().clear();
    viewer_.reset();
    library_.reset();
    std::error_code ec;
    fs::remove_all(root_, ec);
}

std::shared_ptr<mailhost::LibraryMessage> ViewerTest::add(int n, const Dictionary& tags) {
    const std::string id = std::to_string(n);
    auto added = library_->addMessage("INBOX",
                                      "From: s" + id + "@example.org\nSubject: Message " + id +
                                          "\nMessage-ID: <v" + id + "@example.org>\n\nBody " + id + ".\n",
                                      0, 817000000.0 + n);
    EXPECT_TRUE(added.ok());
    if (!added)
        return nullptr;
    if (!tags.empty()) {
        auto message = added.value();
        Dictionary live = record(*message);
        for (const auto& [key, value] : tags.entries())
            live.set(key, value);
        platform::runtime::sendVoid(static_cast<platform::runtime::Object*>(message.get()),
                                    "lumettaSynchroniseWithSpotlight");
        mailhost::Library::flagsChangedForMessages({message});
        mailhost::Library::updateMessageFiles(nullptr);
    }
    rulesApplied_ = 0;
    return added.value();
}

void ViewerTest::select(const std::vector<std::shared_ptr<mailhost::LibraryMessage>>& messages) {
    viewer_->setSelectedMessages(mailhost::MessageList(messages.begin(), messages.end()));
}

Dictionary ViewerTest::record(mailhost::Message& message) {
    auto r = platform::runtime::send<std::optional<Dictionary>>(
        static_cast<platform::runtime::Object*>(&message), "lumettaExtraData");
    return r && *r ? **r : Dictionary();
}

Dictionary ViewerTest::fileTags(const mailhost::LibraryMessage& message) const {
    auto file = mailhost::EmlxFile::read(message.path());
    Dictionary tags;
    if (file)
        for (const auto& [key, value] : file.value().plist().entries())
            if (key.starts_with("lumetta"))
                tags.set(key, value);
    return tags;
}

Value ViewerTest::indexed(const mailhost::LibraryMessage& message, const std::string& attribute) const {
    auto* store = library_->metadata();
    return store ? store->attribute(message.path().string(), attribute) : Value();
}

bool ViewerTest::pendingRemoval(mailhost::Message& message, const std::string& key) {
    const Value pending = record(message).get("__tagsToRemove");
    return pending.set() && pending.set()->contains(key);
}

void ViewerTest::send(const std::string& selector, const Value& argument) {
    ASSERT_TRUE(platform::runtime::sendVoid(static_cast<platform::runtime::Object*>(viewer_.get()), selector,
                                            argument))
        << selector;
}

void ViewerTest::sendAction(const std::string& selector) {
    ASSERT_TRUE(viewer_->sendAction(selector, nullptr)) << selector;
}

} // namespace viewertest
