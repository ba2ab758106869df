#include "lumetta/prefs/LUKeyWordArrayController.h"

#include "platform/runtime/Runtime.h"

namespace lumetta {

Class& LUKeyWordArrayController::registerClass() {
    Class& cls = platform::runtime::Runtime::defineClass(kClassName);
    addMethods(cls);
    return cls;
}

std::unique_ptr<LUKeyWordArrayController> LUKeyWordArrayController::make() {
    return std::make_unique<LUKeyWordArrayController>(&registerClass());
}

} // namespace lumetta
