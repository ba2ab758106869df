#pragma once

#include "platform/runtime/Bundle.h"

namespace lumetta {

// The plug-in's own bundle, found through its principal class, for the resources every
// subsystem reads (strings, version). Kept at the bottom so that reading a string never
// reaches up to the start-up code that defines the class.
class PluginBundle {
public:
    // The principal class's name, as the bundle's Info.plist states it.
    static constexpr const char* kPrincipalClassName = "LumettaBundle";

    // nullptr while the principal class is not defined (a test without the bundle).
    static const platform::runtime::Bundle* find();
};

} // namespace lumetta
