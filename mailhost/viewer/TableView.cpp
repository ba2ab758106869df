#include "mailhost/viewer/TableView.h"

#include "platform/runtime/Runtime.h"

#include <algorithm>

namespace mailhost {

std::shared_ptr<TableView> TableView::make(std::string name) {
    auto table = std::make_shared<TableView>(&platform::runtime::Runtime::defineClass(kClassName));
    table->name_ = std::move(name);
    return table;
}

void TableView::selectRowIndexes(std::vector<std::size_t> rows, bool extend) {
    if (extend)
        rows.insert(rows.end(), selected_.begin(), selected_.end());
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    selected_ = std::move(rows);
}

std::optional<std::size_t> TableView::selectedRow() const {
    if (selected_.empty())
        return std::nullopt;
    return selected_.back();
}

void TableView::editColumn(std::size_t column, std::size_t row, bool selectText) {
    editedColumn_ = column;
    editedRow_ = row;
    textSelected_ = selectText;
}

bool TableView::endEditing(const platform::Value& value) {
    if (!editedRow_)
        return false;
    const std::size_t row = *editedRow_;
    editedRow_.reset();
    if (writer_)
        writer_(row, editedColumn_, value);
    return true;
}

void TableView::registerForDraggedTypes(std::vector<std::string> types) {
    for (auto& type : types)
        if (std::find(draggedTypes_.begin(), draggedTypes_.end(), type) == draggedTypes_.end())
            draggedTypes_.push_back(std::move(type));
}

void TableView::setDropRow(int row, DropOperation operation) {
    dropRow_ = row;
    dropOperation_ = operation;
}

} // namespace mailhost
