#pragma once

#include "mailhost/viewer/DraggingInfo.h"
#include "mailhost/viewer/TableView.h"
#include "platform/foundation/Array.h"
#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <cstddef>
#include <memory>
#include <set>
#include <string>

namespace lumetta {

using platform::runtime::Class;
using platform::runtime::Object;

// A controller of one preference list (keywords or projects) shown in a table: it
// edits mutable copies of the stored entries, writes the list back to the settings on
// every change (the binding), and lets the user reorder entries by dragging rows
// within the table. The dragged rows travel as a property list of row numbers under a
// private pasteboard type.
class TagListArrayController : public Object {
public:
    using IndexSet = std::set<std::size_t>;
    static constexpr const char* kDraggingType = "draggingData";

    TagListArrayController(Class* cls, std::string defaultsKey);

    // Gives a controller class the methods front ends reach by selector:
    //   tableView:writeRows:toPasteboard:        bool(Object*, Sel, TableView*, Value rows, Pasteboard*)
    //   tableView:validateDrop:proposedRow:proposedDropOperation:
    //                                            int(Object*, Sel, TableView*, DraggingInfo*, int, int)
    //   tableView:acceptDrop:row:dropOperation:  bool(Object*, Sel, TableView*, DraggingInfo*, int, int)
    //   arrangedObjects                          Value(Object*, Sel)  the entries
    //   selectionIndexes                         Value(Object*, Sel)  row numbers
    //   removeObjectAtArrangedObjectIndex:       void(Object*, Sel, int)
    static void addMethods(Class& cls);

    const std::string& defaultsKey() const { return key_; }
    // The table the controller serves (an outlet); the table's cells write back here.
    void setTable(std::shared_ptr<mailhost::TableView> table);
    mailhost::TableView* table() const { return table_.get(); }
    // The table accepts the private drag type.
    void awakeFromNib();
    // The stored list through the transformer named in the binding.
    void loadFromDefaults();

    // The entries in table order; every holder sees later edits.
    const platform::Array& arrangedObjects() const { return arranged_; }
    void setSelectsInsertedObjects(bool selects) { selectsInserted_ = selects; }
    void insertObjectAtArrangedObjectIndex(platform::Value object, std::size_t index);
    void removeObjectAtArrangedObjectIndex(std::size_t index);
    // The selection, shared with the table.
    const IndexSet& selectionIndexes() const { return selection_; }
    void setSelectionIndexes(IndexSet indexes);
    void setSelectionIndex(std::size_t index) { setSelectionIndexes({index}); }

    // Drag to reorder.
    bool tableViewWriteRows(mailhost::TableView* table, const platform::Array& rows,
                            mailhost::Pasteboard* pasteboard);
    // Retargets the drop to above the proposed row; a move within this table, a copy
    // from elsewhere.
    int tableViewValidateDrop(mailhost::TableView* table, const mailhost::DraggingInfo& info, int proposedRow,
                              mailhost::TableView::DropOperation operation);
    // Moves the dragged rows above `row` and selects them where they landed; drags from
    // elsewhere are refused.
    bool tableViewAcceptDrop(mailhost::TableView* table, const mailhost::DraggingInfo& info, int row,
                             mailhost::TableView::DropOperation operation);
    // Moves the objects at `indexes` so they keep their order and land where the drop
    // was aimed (above the object that was at `insert`).
    void moveObjectsInArrangedObjectsFromIndexes(const IndexSet& indexes, std::size_t insert);
    static IndexSet indexSetFromRows(const platform::Array& rows);
    // How many of the indexes lie strictly above (before) `row`.
    static std::size_t rowsAboveRow(std::size_t row, const IndexSet& indexes);

private:
    void storeInDefaults() const;

    std::string key_;
    std::shared_ptr<mailhost::TableView> table_;
    platform::Array arranged_;
    IndexSet selection_;
    bool selectsInserted_ = false;
};

} // namespace lumetta
