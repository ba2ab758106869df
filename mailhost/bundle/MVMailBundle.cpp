#include "mailhost/bundle/MVMailBundle.h"

#include "platform/runtime/Bundle.h"
#include "platform/runtime/Runtime.h"

#include <algorithm>
#include <mutex>

namespace mailhost {

using platform::runtime::Bundle;
using platform::runtime::Runtime;

namespace {
std::mutex registeredMutex;
std::vector<Class*>& registered() {
    static auto* list = new std::vector<Class*>;
    return *list;
}
} // namespace

Class& MVMailBundle::registerClass() {
    Class& cls = Runtime::defineClass("MVMailBundle");
    cls.addClassMethod("initialize", &MVMailBundle::initialize);
    cls.addClassMethod("registerBundle", &MVMailBundle::registerBundle);
    cls.addClassMethod("hasPreferencesPanel", &MVMailBundle::hasPreferencesPanel);
    cls.addClassMethod("preferencesOwnerClassName", &MVMailBundle::preferencesOwnerClassName);
    cls.addClassMethod("preferencesPanelName", &MVMailBundle::preferencesPanelName);
    cls.addClassMethod("hasComposeAccessoryViewOwner", &MVMailBundle::hasComposeAccessoryViewOwner);
    cls.addClassMethod("version", &MVMailBundle::version);
    cls.addClassMethod("bundle", &MVMailBundle::bundle);
    cls.addInstanceMethod("init", &MVMailBundle::init);
    return cls;
}

void MVMailBundle::initialize(Class*, Sel) {}

void MVMailBundle::registerBundle(Class* cls, Sel) {
    std::lock_guard lock(registeredMutex);
    auto& list = registered();
    if (std::find(list.begin(), list.end(), cls) == list.end())
        list.push_back(cls);
}

std::string MVMailBundle::version(Class* cls, Sel) {
    Bundle* b = Bundle::bundleForClass(cls);
    return b ? b->version() : std::string();
}

Bundle* MVMailBundle::bundle(Class* cls, Sel) {
    return Bundle::bundleForClass(cls);
}

std::vector<Class*> MVMailBundle::registeredBundles() {
    std::lock_guard lock(registeredMutex);
    return registered();
}

} // namespace mailhost
