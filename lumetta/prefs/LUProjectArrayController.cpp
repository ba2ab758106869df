#include "lumetta/prefs/LUProjectArrayController.h"

#include "platform/runtime/Runtime.h"

namespace lumetta {

Class& LUProjectArrayController::registerClass() {
    Class& cls = platform::runtime::Runtime::defineClass(kClassName);
    addMethods(cls);
    return cls;
}

std::unique_ptr<LUProjectArrayController> LUProjectArrayController::make() {
    return std::make_unique<LUProjectArrayController>(&registerClass());
}

} // namespace lumetta
