#pragma once

#include "mailhost/viewer/Control.h"
#include "mailhost/viewer/TableView.h"
#include "platform/foundation/Array.h"
#include "platform/foundation/Value.h"

#include <optional>
#include <ostream>
#include <string>

namespace mailhost {

// The preferences pane of the loaded bundle, worked without a window: the host finds
// the pane's owner through the bundle's preferencesOwnerClassName, as the preferences
// window does, and uses it by selector (the host never links a bundle). Editing a list
// through the pane keeps the bundle's own rules for entries, order and announcements.
class PreferencesPane {
public:
    enum class List { Keywords, Projects };

    // The pane of the first loaded bundle that has one, its controls filled from the
    // settings; nullopt after saying so on `err` when no bundle has a pane.
    static std::optional<PreferencesPane> open(std::ostream& err);

    mailhost::TableView* table(List list) const;
    // The entries as the pane shows them, in order.
    platform::Array entries(List list) const;
    platform::Array selection(List list) const;
    // A control of the pane by outlet name; nullptr when it has none.
    mailhost::Control* control(const std::string& outlet) const;

    // An action of the pane with its sender; false when the pane has no such action.
    bool send(const std::string& action, Object* sender) const;
    // Adds an entry as the user does: the pane's add button, then typing the title into
    // the new row.
    bool add(List list, const std::string& title) const;
    bool removeAt(List list, std::size_t index) const;
    // Drags rows (0-based) within the list's table and drops them above `row`.
    bool drag(List list, const platform::Array& rows, int row) const;
    // Announces the lists to everyone who shows them.
    void saveChanges() const;

private:
    explicit PreferencesPane(Object* module) : module_(module) {}
    Object* controller(List list) const;

    Object* module_;
};

} // namespace mailhost
