#include "platform/runtime/Runtime.h"

#include <map>
#include <memory>
#include <mutex>

namespace platform::runtime {

namespace {

struct Registry {
    std::mutex mutex;
    std::map<std::string, std::unique_ptr<Class>, std::less<>> classes;
};

Registry& registry() {
    static Registry* r = new Registry; // never destroyed: classes outlive static destructors
    return *r;
}

using Imp = void (*)();

Imp replace(Method* host, Method* replacement) {
    if (!host || !replacement || host->type() != replacement->type())
        return nullptr;
    return host->exchange(replacement->imp());
}

} // namespace

Class& Runtime::defineClass(std::string name, Class* superclass) {
    Registry& r = registry();
    std::lock_guard lock(r.mutex);
    auto it = r.classes.find(name);
    if (it != r.classes.end())
        return *it->second;
    auto cls = std::make_unique<Class>(name, superclass);
    Class& ref = *cls;
    r.classes.emplace(std::move(name), std::move(cls));
    return ref;
}

Class* Runtime::classNamed(std::string_view name) {
    Registry& r = registry();
    std::lock_guard lock(r.mutex);
    auto it = r.classes.find(name);
    return it == r.classes.end() ? nullptr : it->second.get();
}

namespace {

// Both kinds of replacement: look up both classes and their methods of one kind.
Imp replaceIn(Method* (Class::*lookup)(Sel) const, Sel hostSelector, std::string_view hostClass,
              Sel replacementSelector, std::string_view replacementClass) {
    Class* host = Runtime::classNamed(hostClass);
    Class* replacement = Runtime::classNamed(replacementClass);
    if (!host || !replacement)
        return nullptr;
    return replace((host->*lookup)(hostSelector), (replacement->*lookup)(replacementSelector));
}

} // namespace

Imp Runtime::replaceInstanceMethod(Sel hostSelector, std::string_view hostClass, Sel replacementSelector,
                                   std::string_view replacementClass) {
    return replaceIn(&Class::instanceMethod, hostSelector, hostClass, replacementSelector, replacementClass);
}

Imp Runtime::replaceClassMethod(Sel hostSelector, std::string_view hostClass, Sel replacementSelector,
                                std::string_view replacementClass) {
    return replaceIn(&Class::classMethod, hostSelector, hostClass, replacementSelector, replacementClass);
}

bool Runtime::poseAsClass(std::string_view poser, std::string_view host) {
    Class* p = classNamed(poser);
    Class* h = classNamed(host);
    return p && h && p->poseAs(*h);
}

} // namespace platform::runtime
