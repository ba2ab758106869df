#pragma once

namespace mailhost {

// Defines every host class and its replaceable methods in the method tables. Front
// ends call it once at start, before any bundle is loaded, so that bundles find the
// classes they extend.
void registerHostClasses();

} // namespace mailhost
