#pragma once

#include "platform/foundation/Value.h"
#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace mailhost {

using platform::runtime::Class;
using platform::runtime::Object;

// A table of rows as its controller and front end share it, without a display: which
// rows are selected, which cell is being edited, what drags it accepts and where a drop
// was aimed. The rows themselves belong to whoever feeds the table.
class TableView : public Object {
public:
    static constexpr const char* kClassName = "NSTableView";
    // Where a drop lands relative to its row.
    enum DropOperation { DropOn = 0, DropAbove = 1 };
    // What a drop does: copy or move.
    static constexpr int kDragOperationNone = 0;
    static constexpr int kDragOperationCopy = 1;
    static constexpr int kDragOperationMove = 16;

    // Stores an edited cell's value (the column's binding).
    using CellWriter = std::function<void(std::size_t row, std::size_t column, const platform::Value& value)>;

    static std::shared_ptr<TableView> make(std::string name = {});
    explicit TableView(Class* cls) : Object(cls) {}

    const std::string& name() const { return name_; }

    // Sorted, without repeats.
    const std::vector<std::size_t>& selectedRowIndexes() const { return selected_; }
    void selectRowIndexes(std::vector<std::size_t> rows, bool extend = false);
    std::optional<std::size_t> selectedRow() const;

    // Starts editing a cell, with its text selected or the caret at the end.
    void editColumn(std::size_t column, std::size_t row, bool selectText);
    std::optional<std::size_t> editedRow() const { return editedRow_; }
    std::size_t editedColumn() const { return editedColumn_; }
    bool editedTextSelected() const { return textSelected_; }
    void setCellWriter(CellWriter writer) { writer_ = std::move(writer); }
    // Ends editing, storing `value` in the edited cell; false when no cell was edited.
    bool endEditing(const platform::Value& value);

    void registerForDraggedTypes(std::vector<std::string> types);
    const std::vector<std::string>& registeredDraggedTypes() const { return draggedTypes_; }
    // A drop validator may aim the drop elsewhere than proposed.
    void setDropRow(int row, DropOperation operation);
    int dropRow() const { return dropRow_; }
    DropOperation dropOperation() const { return dropOperation_; }

    // The rows changed: front ends redraw.
    void reloadData() { ++reloads_; }
    int reloadCount() const { return reloads_; }

private:
    std::string name_;
    std::vector<std::size_t> selected_;
    std::optional<std::size_t> editedRow_;
    std::size_t editedColumn_ = 0;
    bool textSelected_ = false;
    CellWriter writer_;
    std::vector<std::string> draggedTypes_;
    int dropRow_ = -1;
    DropOperation dropOperation_ = DropOn;
    int reloads_ = 0;
};

} // namespace mailhost
