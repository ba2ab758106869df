#include "lumetta/startup/LumettaBundle.h"

#include "lumetta/startup/CategoryLoader.h"
#include "lumetta/core/LumettaDefaults.h"
#include "lumetta/viewer/LumettaExtraDialogsOwner.h"
#include "mailhost/HostClasses.h"
#include "platform/foundation/HeadlessRunLoop.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/runtime/Assertion.h"
#include "platform/runtime/Bundle.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Send.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>

using namespace platform;
using namespace lumetta;
namespace fs = std::filesystem;
using platform::runtime::Class;
using platform::runtime::Runtime;

namespace {

struct AssertionRaised : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A fresh home for settings, a main run loop, the built bundle, and a welcome that is
// counted instead of printed.
class LumettaBundleTest : public ::testing::Test {
protected:
    void SetUp() override {
        char tmpl[] = "/tmp/lumetta-bundle-XXXXXX";
        home_ = mkdtemp(tmpl);
        setenv("XDG_CONFIG_HOME", home_.c_str(), 1);
        UserDefaults::resetStandardForTesting();
        mailhost::registerHostClasses();
        loadCategories();
        cls_ = Runtime::classNamed(LumettaBundle::kClassName);
        ASSERT_NE(cls_, nullptr);
        useBundle(LUMETTA_BUILT_BUNDLE_DIR);
        RunLoop::setMain(&loop_);
        loop_.setTimeSource([this] { return now_; });
        LumettaExtraDialogsOwner::setWelcomePresenter(
            [this](const std::string&, const std::string&) { ++welcomes_; });
        platform::runtime::Assertion::setHandler([](std::string_view, int line, std::string_view text) {
            throw AssertionRaised(std::to_string(line) + " " + std::string(text));
        });
    }
    void TearDown() override {
        platform::runtime::Assertion::setHandler({});
        LumettaExtraDialogsOwner::setWelcomePresenter({});
        RunLoop::setMain(nullptr);
        UserDefaults::resetStandardForTesting();
        fs::remove_all(home_);
    }

    void useBundle(const fs::path& path) {
        auto opened = platform::runtime::Bundle::open(path);
        ASSERT_TRUE(opened.ok()) << opened.error().message;
        bundle_ = std::move(opened.value());
        platform::runtime::Bundle::setBundleForClass(cls_, bundle_.get());
    }

    // One start of the host: class start-up, then instance start-up, then the turn of
    // the main loop that runs deferred work.
    std::unique_ptr<runtime::Object> start() {
        platform::runtime::sendClassVoid(*cls_, "initialize");
        auto instance = cls_->createInstance();
        auto result = platform::runtime::send<runtime::Object*>(instance.get(), "init");
        EXPECT_TRUE(result && *result == instance.get());
        loop_.runUntilIdle();
        return instance;
    }

    fs::path home_;
    Class* cls_ = nullptr;
    std::unique_ptr<platform::runtime::Bundle> bundle_;
    HeadlessRunLoop loop_;
    double now_ = 0;
    int welcomes_ = 0;
};

// A fresh user gets every default, in order, then one welcome; later starts none.
TEST_F(LumettaBundleTest, FreshUserGetsDefaultsInOrderAndOneWelcome) {
    auto first = start();
    EXPECT_EQ(welcomes_, 1);
    const Dictionary stored = UserDefaults::standard().persistentDomainForName("lumetta-mail");
    EXPECT_EQ(stored.count(), LumettaDefaults::table().size() + 1);
    for (const auto& e : LumettaDefaults::table())
        EXPECT_EQ(stored.get(e.key), e.value) << e.key;
    EXPECT_EQ(stored.get("lumettaICalRefreshFrequency"), Value(5));
    EXPECT_TRUE(stored.get("lumettaCopyKeywordsInReply").isBoolean());
    EXPECT_EQ(stored.get("lumettaPrefVersion").stringValue(), "1.2.0");
    ASSERT_TRUE(UserDefaults::standard().synchronize().ok());

    UserDefaults::resetStandardForTesting(); // a new process reads the file again
    auto second = start();
    EXPECT_EQ(welcomes_, 1);
    const auto registered = mailhost::MVMailBundle::registeredBundles();
    EXPECT_EQ(std::count(registered.begin(), registered.end(), cls_), 1);
}

// Defaults are written one by one in table order, as stored values.
TEST_F(LumettaBundleTest, DefaultsAreWrittenInTableOrder) {
    UserDefaults d("lumetta-mail", home_ / "ordered");
    LumettaDefaults::fillIn(d);
    std::vector<std::string> expectedKeys;
    for (const auto& e : LumettaDefaults::table())
        expectedKeys.push_back(e.key);
    EXPECT_EQ(d.persistentDomainForName("lumetta-mail").keys(), expectedKeys);
    EXPECT_EQ(expectedKeys.size(), 14u);
    EXPECT_EQ(expectedKeys.front(), "lumettaShowTagsPanel");
    EXPECT_EQ(expectedKeys.back(), "lumettaShowTagIcon");
}

// Values a user already has are never replaced, whatever their type.
TEST_F(LumettaBundleTest, ExistingValuesOfAnyTypeAreKept) {
    UserDefaults& d = UserDefaults::standard();
    d.setObject(false, "lumettaShowTagIcon");
    d.setObject("Never", "lumettaShowTagsPanel");
    d.setObject(Array{"odd"}, "lumettaAlarmTime");       // wrong type, still kept
    d.setObject("seven", "lumettaICalRefreshFrequency"); // wrong type, still kept
    d.setObject(0, "lumettaRefreshFromICal");
    LumettaDefaults::fillIn(d);
    EXPECT_EQ(d.valueForKey("lumettaShowTagIcon"), Value(false));
    EXPECT_EQ(d.valueForKey("lumettaShowTagsPanel"), Value("Never"));
    EXPECT_TRUE(d.valueForKey("lumettaAlarmTime").isArray());
    EXPECT_EQ(d.valueForKey("lumettaICalRefreshFrequency"), Value("seven"));
    EXPECT_EQ(d.valueForKey("lumettaRefreshFromICal"), Value(0));
    EXPECT_EQ(d.valueForKey("lumettaDefaultCalendar"), Value("Lumetta"));
}

// The refresh runs `frequency` times per ten minutes, in whole seconds.
TEST(LumettaRefreshDelay, FollowsTheFrequencyTable) {
    const std::pair<Value, int> cases[] = {
        {Value(), 600},  {Value(0), 600}, {Value(1), 600},   {Value(5), 120},      {Value(7), 85},
        {Value(600), 1}, {Value(601), 0}, {Value("3"), 200}, {Value("junk"), 600}, {Value(-4), 0},
    };
    for (const auto& [frequency, seconds] : cases)
        EXPECT_EQ(LumettaDefaults::refreshDelaySeconds(frequency), seconds) << frequency.description();
}

TEST_F(LumettaBundleTest, StartUpArmsTheRefreshAndItReArms) {
    UserDefaults::standard().setObject(7, "lumettaICalRefreshFrequency");
    auto bundle = start();
    EXPECT_EQ(loop_.pendingTimerDelays(), std::vector<double>{85});
    now_ += 85;
    loop_.runUntilIdle();
    EXPECT_EQ(loop_.pendingTimerDelays(), std::vector<double>{85});
}

// A list notification while no menu exists changes nothing and does not fail.
TEST_F(LumettaBundleTest, ListNotificationsBeforeTheMenuExistDoNothing) {
    auto bundle = start();
    auto* lumetta = static_cast<LumettaBundle*>(bundle.get());
    ASSERT_EQ(lumetta->lumettaMenuItem, nullptr);
    NotificationCenter::defaultCenter().post("LUProjectListWasModified");
    NotificationCenter::defaultCenter().post("LUKeywordListWasModified", nullptr,
                                             Dictionary{{"keywordArray", Array{}}});
    EXPECT_EQ(lumetta->lumettaMenuItem, nullptr);
    NotificationCenter::defaultCenter().removeObserversOwnedBy(lumetta);
}

// The diagnostic observer logs the plug-in's and host's notifications, not the toolkit's.
TEST_F(LumettaBundleTest, DiagnosticObserverSkipsToolkitNotifications) {
    auto bundle = start();
    auto* lumetta = static_cast<LumettaBundle*>(bundle.get());
    ScopedLogCapture log;
    lumetta->observeNotification({"NSWindowDidResizeNotification", nullptr, {}});
    EXPECT_TRUE(log.lines().empty());
    lumetta->observeNotification({"LURulesWereApplied", nullptr, Dictionary{{"count", 2}}});
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.lines()[0].rfind("got Notification LURulesWereApplied object (null) userInfo{", 0), 0u)
        << log.lines()[0];
    NotificationCenter::defaultCenter().removeObserversOwnedBy(lumetta);
}

// A bundle without its menu interface file cannot start: the assertion is raised.
TEST_F(LumettaBundleTest, MissingInterfaceFileRaisesTheAssertion) {
    const fs::path broken = home_ / "Broken.mailbundle";
    fs::create_directories(broken / "Contents" / "Resources");
    fs::copy_file(fs::path(LUMETTA_BUILT_BUNDLE_DIR) / "Contents" / "Info.plist",
                  broken / "Contents" / "Info.plist");
    useBundle(broken);
    platform::runtime::sendClassVoid(*cls_, "initialize");
    auto instance = cls_->createInstance();
    try {
        platform::runtime::send<runtime::Object*>(instance.get(), "init");
        FAIL() << "init went on without its interface file";
    } catch (const AssertionRaised& e) {
        EXPECT_STREQ(e.what(), "215 ### Lumetta: Unable to load LumettaMessageViewerContextMenu.nib");
    }
}

// Host protocol answers and the bundle's own settings domain.
TEST_F(LumettaBundleTest, AnswersTheHostAndWritesItsOwnDomain) {
    EXPECT_EQ(platform::runtime::sendClass<bool>(*cls_, "hasPreferencesPanel"), true);
    EXPECT_EQ(platform::runtime::sendClass<std::string>(*cls_, "preferencesOwnerClassName"),
              "LumettaPreferencesModule");
    EXPECT_EQ(platform::runtime::sendClass<std::string>(*cls_, "preferencesPanelName"), "Lumetta");
    EXPECT_EQ(platform::runtime::sendClass<bool>(*cls_, "hasComposeAccessoryViewOwner"), false);
    EXPECT_EQ(platform::runtime::sendClass<std::string>(*cls_, "version"), bundle_->version());
    EXPECT_FALSE(bundle_->version().empty());

    platform::runtime::sendClassVoid(*cls_, "setDefaultValue:forDefault:", Value("x"),
                                     std::string("lumettaKey"));
    const std::string id = bundle_->bundleIdentifier();
    EXPECT_EQ(UserDefaults::standard().persistentDomainForName(id).get("lumettaKey"), Value("x"));
    EXPECT_EQ(UserDefaults::standard().valueForKey("lumettaKey"), Value("x")); // registered as well
}

} // namespace
