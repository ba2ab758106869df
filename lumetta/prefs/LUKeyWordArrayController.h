#pragma once

#include "lumetta/prefs/TagListArrayController.h"

#include <memory>

namespace lumetta {

// The controller of the keyword list ("lumettaKeyWords") in the preferences pane.
class LUKeyWordArrayController : public TagListArrayController {
public:
    static constexpr const char* kClassName = "LUKeyWordArrayController";
    static Class& registerClass();
    static std::unique_ptr<LUKeyWordArrayController> make();
    explicit LUKeyWordArrayController(Class* cls) : TagListArrayController(cls, "lumettaKeyWords") {}
};

} // namespace lumetta
