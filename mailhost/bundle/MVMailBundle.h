#pragma once

#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <string>
#include <vector>

namespace platform::runtime {
class Bundle;
}

namespace mailhost {

using platform::runtime::Class;
using platform::runtime::Object;
using platform::runtime::Sel;

// The base of every mail bundle's principal class. The host asks a bundle's class
// about itself through these class methods (looked up at run time, so the bundle's
// class answers for itself) and keeps the one instance it creates.
class MVMailBundle : public Object {
public:
    explicit MVMailBundle(Class* cls) : Object(cls) {}

    // Defines the "MVMailBundle" class and its methods; idempotent.
    static Class& registerClass();

    // The host's own answers, for bundles that do not override them.
    static void initialize(Class* cls, Sel);
    static void registerBundle(Class* cls, Sel);
    static bool hasPreferencesPanel(Class*, Sel) { return false; }
    static std::string preferencesOwnerClassName(Class*, Sel) { return {}; }
    static std::string preferencesPanelName(Class*, Sel) { return {}; }
    static bool hasComposeAccessoryViewOwner(Class*, Sel) { return false; }
    static std::string version(Class* cls, Sel);
    static platform::runtime::Bundle* bundle(Class* cls, Sel);
    static Object* init(Object* self, Sel) { return self; }

    // The classes that announced themselves with registerBundle, in order.
    static std::vector<Class*> registeredBundles();
};

} // namespace mailhost
