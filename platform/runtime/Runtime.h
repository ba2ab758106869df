#pragma once

#include "platform/runtime/Class.h"

#include <string>
#include <string_view>

namespace platform::runtime {

// The process-wide table of classes by name, shared by the host and every bundle it
// loads (both link the one platform library).
class Runtime {
public:
    // The class with this name, created on first definition. Defining an existing
    // class again returns it unchanged (its superclass stays what it was).
    static Class& defineClass(std::string name, Class* superclass = nullptr);
    static Class* classNamed(std::string_view name);

    // Replaces the implementation of `hostSelector` in `hostClass` with that of
    // `replacementSelector` in `replacementClass` (instance methods, or class methods
    // with the second form). Both are looked up by name; when a class or a method is
    // missing, or the two implementations' types differ, nothing changes and the
    // result is nullptr. Otherwise the result is the previous implementation. The
    // replacement keeps its own implementation too, so both selectors then run it.
    static void (*replaceInstanceMethod(Sel hostSelector, std::string_view hostClass, Sel replacementSelector,
                                        std::string_view replacementClass))();
    static void (*replaceClassMethod(Sel hostSelector, std::string_view hostClass, Sel replacementSelector,
                                     std::string_view replacementClass))();

    // `poser` takes over the creation of `host` instances; false when either class
    // is missing or `poser` is not a subclass of `host`.
    static bool poseAsClass(std::string_view poser, std::string_view host);
};

} // namespace platform::runtime
