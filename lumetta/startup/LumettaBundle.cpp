#include "lumetta/startup/LumettaBundle.h"

#include "lumetta/calendar/ICalRefreshPass.h"
#include "lumetta/calendar/LumettaICalToDo.h"
#include "lumetta/core/LumettaDefaults.h"
#include "lumetta/viewer/LumettaExtraDialogsOwner.h"
#include "platform/foundation/Format.h"
#include "platform/foundation/Log.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/RunLoop.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/runtime/Assertion.h"
#include "platform/runtime/Bundle.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Send.h"

namespace lumetta {

using platform::Log;
using platform::UserDefaults;
using platform::Value;
using platform::runtime::Bundle;
using platform::runtime::Runtime;

LumettaBundle::~LumettaBundle() {
    // In a running client the bundle lives as long as the host; a host that lets one go
    // (a test, a reload) must not have list notifications reach it afterwards. A pending
    // refresh stays with the run loop that holds it, which goes with the host.
    platform::NotificationCenter::defaultCenter().removeObserversOwnedBy(this);
    bundleMessageLock_.reset();
}

Class& LumettaBundle::registerClass() {
    Class& cls = Runtime::defineClass(kClassName, &mailhost::MVMailBundle::registerClass());
    cls.addClassMethod("load", &LumettaBundle::load);
    cls.addClassMethod("initialize", &LumettaBundle::initialize);
    cls.addClassMethod("firstRun", &LumettaBundle::firstRun);
    cls.addClassMethod("setDefaultValue:forDefault:", &LumettaBundle::setDefaultValueForDefault);
    cls.addClassMethod("hasPreferencesPanel", &LumettaBundle::hasPreferencesPanel);
    cls.addClassMethod("preferencesOwnerClassName", &LumettaBundle::preferencesOwnerClassName);
    cls.addClassMethod("preferencesPanelName", &LumettaBundle::preferencesPanelName);
    cls.addClassMethod("hasComposeAccessoryViewOwner", &LumettaBundle::hasComposeAccessoryViewOwner);
    cls.addInstanceMethod("init", &LumettaBundle::init);
    cls.addInstanceMethod("refreshICalData", &LumettaBundle::refreshICalDataImp);
    cls.addInstanceMethod("lumettaSweepVanishedToDos", &LumettaBundle::lumettaSweepVanishedToDos);
    cls.addInstanceMethod("lumettaRereadMessagesFromICal:", &LumettaBundle::lumettaRereadMessagesFromICal);
    cls.setFactory([](Class* c) { return std::make_unique<LumettaBundle>(c); });
    return cls;
}

void LumettaBundle::initialize(Class* cls, Sel sel) {
    platform::runtime::sendSuperClassVoid(*cls, sel);
    bundleMessageLock_ = std::make_unique<platform::Lock>();
    UserDefaults& defaults = UserDefaults::standard();
    if (defaults.valueForKey("lumettaPrefVersion").isNull()) {
        // After start-up has finished, from the main run loop.
        if (platform::RunLoop* loop = platform::RunLoop::main())
            loop->performOnMainThread([cls] { platform::runtime::sendClassVoid(*cls, "firstRun"); }, false);
        else
            Log::line("Lumetta: no main run loop; the welcome is shown on a later start");
    }
    LumettaDefaults::fillIn(defaults);
    if (auto r = defaults.synchronize(); !r)
        Log::line("Lumetta: settings not saved: " + r.error().message);
    platform::runtime::sendClassVoid(*cls, "registerBundle");
}

void LumettaBundle::firstRun(Class*, Sel) {
    {
        LumettaExtraDialogsOwner owner;
        owner.runWelcomeModal();
    }
    // Only once the welcome has been dismissed, so an interrupted first run shows it again.
    UserDefaults::standard().setObject(kPrefVersion, "lumettaPrefVersion");
}

void LumettaBundle::setDefaultValueForDefault(Class* cls, Sel, Value value, std::string key) {
    Bundle* bundle = Bundle::bundleForClass(cls);
    if (!bundle)
        return;
    const std::string identifier = bundle->bundleIdentifier();
    UserDefaults& defaults = UserDefaults::standard();
    platform::Dictionary domain = defaults.persistentDomainForName(identifier).mutableCopy();
    domain.set(std::move(key), std::move(value));
    defaults.registerDefaults(domain);
    if (auto r = defaults.setPersistentDomain(domain.mutableCopy(), identifier); !r)
        Log::line("Lumetta: " + r.error().message);
}

platform::Result<platform::InterfaceFile> LumettaBundle::loadInterface(const Class* cls,
                                                                       const std::string& name) {
    Bundle* bundle = Bundle::bundleForClass(cls);
    if (!bundle)
        return platform::makeError("no bundle for class " + cls->name());
    auto path = bundle->pathForResource(name, "ui");
    if (!path)
        return platform::makeError("interface file " + name + ".ui not found in " +
                                   bundle->resourcePath().string());
    return platform::InterfaceFile::load(*path);
}

Object* LumettaBundle::init(Object* object, Sel sel) {
    auto* self = static_cast<LumettaBundle*>(object);
    Class* cls = self->objectClass();
    const std::string version = platform::runtime::sendClass<std::string>(*cls, "version").value_or("");
    Log::line(platform::format("Loaded Lumetta Bundle %@", {version}));

    auto superInit = platform::runtime::sendSuper<Object*>(*Runtime::classNamed(kClassName), object, sel);
    if (!superInit || !*superInit) {
        Log::line("Lumetta plugin: Could not Init notifications");
        return nullptr;
    }

    auto menu = loadInterface(cls, "LumettaMessageViewerContextMenu");
    if (!menu) {
        Log::line("Lumetta: " + menu.error().message);
        platform::runtime::Assertion::fail("-[LumettaBundle init]", 215,
                                           "### Lumetta: Unable to load LumettaMessageViewerContextMenu.nib");
    }
    self->contextMenu_ = std::move(menu.value());

    self->lumettaMenuItem = nullptr;
    Log::line("Lumetta: the Lumetta menu is not part of this build yet; tag commands are reachable from the "
              "command line");

    auto& center = platform::NotificationCenter::defaultCenter();
    center.addObserver(
        "LUKeywordListWasModified", nullptr, [self](const auto& n) { self->keywordListModified(n); }, self);
    center.addObserver(
        "LUProjectListWasModified", nullptr, [self](const auto& n) { self->projectListModified(n); }, self);

    self->iCalRefresher = std::make_unique<LumettaICalToDo>();
    if (UserDefaults::standard().boolForKey("lumettaOpenICalAtLaunch"))
        self->iCalRefresher->launchICal();

    self->armRefresh();
    return self;
}

void LumettaBundle::armRefresh() {
    const int delay = LumettaDefaults::refreshDelaySeconds(
        UserDefaults::standard().valueForKey("lumettaICalRefreshFrequency"));
    if (platform::RunLoop* loop = platform::RunLoop::main())
        loop->performAfterDelay([this] { refreshICalData(); }, delay);
}

void LumettaBundle::refreshICalData() {
    if (iCalRefresher) {
        const platform::Dictionary summary = ICalRefreshPass::run(*iCalRefresher);
        platform::NotificationCenter::defaultCenter().post(ICalRefreshPass::kToDosWereRefreshed, nullptr,
                                                           summary);
    }
    armRefresh();
}

platform::Dictionary LumettaBundle::lumettaSweepVanishedToDos(Object*, Sel) {
    return ICalRefreshPass::sweepVanished();
}

platform::Dictionary LumettaBundle::lumettaRereadMessagesFromICal(Object*, Sel, Value rows) {
    std::vector<std::int64_t> numbers;
    if (const platform::Array* given = rows.array())
        for (const Value& row : given->items())
            numbers.push_back(row.integerValue());
    return ICalRefreshPass::reread(numbers);
}

void LumettaBundle::keywordListModified(const platform::Notification&) {
    if (!lumettaMenuItem)
        return;
    // The keyword submenus are rebuilt here once the menus exist.
}

void LumettaBundle::projectListModified(const platform::Notification&) {
    if (!lumettaMenuItem)
        return;
    // The project submenu is rebuilt here once the menus exist.
}

void LumettaBundle::observeNotification(const platform::Notification& n) {
    if (n.name.rfind("NS", 0) == 0)
        return;
    Log::line(platform::format("got Notification %@ object %@ userInfo%@",
                               {n.name, n.object ? Value("<object>") : Value(), n.userInfo}));
}

} // namespace lumetta
