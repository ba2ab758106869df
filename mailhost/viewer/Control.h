#pragma once

#include "platform/foundation/Date.h"
#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <memory>
#include <string>
#include <vector>

namespace mailhost {

using platform::runtime::Class;
using platform::runtime::Object;

// A control of a dialog or settings pane as its code sees it, without a display: the
// values code reads and sets (text, on/off state, chosen item, date, chosen tab) and
// whether it is enabled. Front ends draw controls from these and write the user's
// changes back; headless front ends set them directly. Controls are also the senders
// of the actions they trigger, so an action reads its value from its sender.
class Control : public Object {
public:
    enum class Kind { TextField, Button, PopUpButton, Matrix, DatePicker, TabView };

    static std::shared_ptr<Control> make(Kind kind, std::string name = {});

    Control(Class* cls, Kind kind) : Object(cls), kind_(kind) {}

    Kind kind() const { return kind_; }
    // The outlet name the control is known by in its interface file.
    const std::string& name() const { return name_; }

    const std::string& stringValue() const { return string_; }
    void setStringValue(std::string text) { string_ = std::move(text); }
    // The text read as a whole number, as a number field reads (leading digits, else 0).
    int intValue() const;
    void setIntValue(int value) { string_ = std::to_string(value); }

    // Buttons, switches and radio cells: 1 on, 0 off.
    int state() const { return state_; }
    void setState(int state) { state_ = state; }

    // Pop-up buttons and radio matrices: the tag of the chosen item; -1 none.
    int selectedTag() const { return selectedTag_; }
    void selectItemWithTag(int tag) { selectedTag_ = tag; }

    platform::Date dateValue() const { return date_; }
    void setDateValue(platform::Date date) { date_ = date; }

    // Tab views: the identifier of the chosen tab.
    const std::string& selectedIdentifier() const { return identifier_; }
    void selectTabWithIdentifier(std::string identifier) { identifier_ = std::move(identifier); }

    bool isEnabled() const { return enabled_; }
    void setEnabled(bool enabled) { enabled_ = enabled; }

private:
    Kind kind_;
    std::string name_;
    std::string string_;
    int state_ = 0;
    int selectedTag_ = -1;
    platform::Date date_;
    std::string identifier_;
    bool enabled_ = true;
};

} // namespace mailhost
