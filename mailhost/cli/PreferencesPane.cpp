#include "mailhost/cli/PreferencesPane.h"

#include "mailhost/bundle/MVMailBundle.h"
#include "mailhost/viewer/DraggingInfo.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Send.h"

namespace mailhost {

namespace rt = platform::runtime;
using platform::Array;
using platform::Value;

std::optional<PreferencesPane> PreferencesPane::open(std::ostream& err) {
    for (Class* bundle : MVMailBundle::registeredBundles()) {
        const auto owner = rt::sendClass<std::string>(*bundle, "preferencesOwnerClassName");
        Class* cls = owner && !owner->empty() ? rt::Runtime::classNamed(*owner) : nullptr;
        const auto module = cls ? rt::sendClass<Object*>(*cls, "sharedInstance") : std::nullopt;
        if (module && *module) {
            rt::sendVoid(*module, "initializeFromDefaults");
            return PreferencesPane(*module);
        }
    }
    err << "lumetta: the keyword and project lists and the settings need the Lumetta bundle, which is not "
           "loaded\n";
    return std::nullopt;
}

Object* PreferencesPane::controller(List list) const {
    return rt::send<Object*>(module_,
                             list == List::Keywords ? "keyWordArrayController" : "projectArrayController")
        .value_or(nullptr);
}

TableView* PreferencesPane::table(List list) const {
    return rt::send<TableView*>(module_, list == List::Keywords ? "keyWordTable" : "projectsTable")
        .value_or(nullptr);
}

Array PreferencesPane::entries(List list) const {
    Object* c = controller(list);
    const Value entries = c ? rt::send<Value>(c, "arrangedObjects").value_or(Value()) : Value();
    return entries.array() ? *entries.array() : Array();
}

Array PreferencesPane::selection(List list) const {
    Object* c = controller(list);
    const Value rows = c ? rt::send<Value>(c, "selectionIndexes").value_or(Value()) : Value();
    return rows.array() ? *rows.array() : Array();
}

Control* PreferencesPane::control(const std::string& outlet) const {
    return rt::send<Control*>(module_, outlet).value_or(nullptr);
}

bool PreferencesPane::send(const std::string& action, Object* sender) const {
    return rt::sendVoid(module_, action, sender);
}

bool PreferencesPane::add(List list, const std::string& title) const {
    TableView* t = table(list);
    if (!t || !send(list == List::Keywords ? "addKeyWord:" : "addProject:", nullptr))
        return false;
    return t->endEditing(title);
}

bool PreferencesPane::removeAt(List list, std::size_t index) const {
    Object* c = controller(list);
    return c && rt::sendVoid(c, "removeObjectAtArrangedObjectIndex:", static_cast<int>(index));
}

bool PreferencesPane::drag(List list, const Array& rows, int row) const {
    Object* c = controller(list);
    TableView* t = table(list);
    if (!c || !t)
        return false;
    auto board = Pasteboard::make();
    if (!rt::send<bool>(c, "tableView:writeRows:toPasteboard:", t, Value(rows), board.get()).value_or(false))
        return false;
    DraggingInfo info(t, board.get());
    // Wherever the pointer is, the table says where the drop will go.
    rt::send<int>(c, "tableView:validateDrop:proposedRow:proposedDropOperation:", t, &info, row,
                  static_cast<int>(TableView::DropOn));
    return rt::send<bool>(c, "tableView:acceptDrop:row:dropOperation:", t, &info, t->dropRow(),
                          static_cast<int>(t->dropOperation()))
        .value_or(false);
}

void PreferencesPane::saveChanges() const {
    rt::sendVoid(module_, "saveChanges");
}

} // namespace mailhost
