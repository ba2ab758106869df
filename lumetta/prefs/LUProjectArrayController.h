#pragma once

#include "lumetta/prefs/TagListArrayController.h"

#include <memory>

namespace lumetta {

// The controller of the project list ("lumettaProjects") in the preferences pane.
class LUProjectArrayController : public TagListArrayController {
public:
    static constexpr const char* kClassName = "LUProjectArrayController";
    static Class& registerClass();
    static std::unique_ptr<LUProjectArrayController> make();
    explicit LUProjectArrayController(Class* cls) : TagListArrayController(cls, "lumettaProjects") {}
};

} // namespace lumetta
