#pragma once

#include "platform/runtime/Runtime.h"

#include <string_view>

namespace lumetta {

using platform::runtime::Sel;

// Gives the host method `hostSelector` of `hostClass` the implementation of
// `replacementSelector` in `replacementClass` and returns the host's previous
// implementation, to be kept in the replacement's slot and called from it. When
// either method is missing (or their types differ) nothing changes and the result is
// nullptr: the slot stays empty and the replacement is simply never reached.
template <class Imp>
Imp replaceInstanceMethod(Sel hostSelector, std::string_view hostClass, Sel replacementSelector,
                          std::string_view replacementClass) {
    return reinterpret_cast<Imp>(platform::runtime::Runtime::replaceInstanceMethod(
        hostSelector, hostClass, replacementSelector, replacementClass));
}

template <class Imp>
Imp replaceClassMethod(Sel hostSelector, std::string_view hostClass, Sel replacementSelector,
                       std::string_view replacementClass) {
    return reinterpret_cast<Imp>(platform::runtime::Runtime::replaceClassMethod(
        hostSelector, hostClass, replacementSelector, replacementClass));
}

} // namespace lumetta
