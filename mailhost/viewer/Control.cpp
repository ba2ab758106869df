#include "mailhost/viewer/Control.h"

#include "platform/foundation/Value.h"
#include "platform/runtime/Runtime.h"

namespace mailhost {

namespace {
const char* className(Control::Kind kind) {
    switch (kind) {
    case Control::Kind::TextField:
        return "NSTextField";
    case Control::Kind::Button:
        return "NSButton";
    case Control::Kind::PopUpButton:
        return "NSPopUpButton";
    case Control::Kind::Matrix:
        return "NSMatrix";
    case Control::Kind::DatePicker:
        return "NSDatePicker";
    case Control::Kind::TabView:
        return "NSTabView";
    }
    return "NSControl";
}
} // namespace

std::shared_ptr<Control> Control::make(Kind kind, std::string name) {
    Class& cls = platform::runtime::Runtime::defineClass(className(kind));
    auto control = std::make_shared<Control>(&cls, kind);
    control->name_ = std::move(name);
    return control;
}

int Control::intValue() const {
    return platform::Value(string_).intValue();
}

} // namespace mailhost
