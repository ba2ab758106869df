#include "lumetta/prefs/TagListArrayController.h"

#include "lumetta/prefs/ImmutableToMutableArrayOfObjectsTransformer.h"
#include "lumetta/prefs/PreferenceLists.h"
#include "platform/foundation/UserDefaults.h"

#include <algorithm>

namespace lumetta {

using mailhost::TableView;
using platform::Array;
using platform::Value;

namespace {

std::shared_ptr<ValueTransformer> listTransformer() {
    auto named =
        ValueTransformer::valueTransformerForName(ImmutableToMutableArrayOfObjectsTransformer::kName);
    return named ? named : std::make_shared<ImmutableToMutableArrayOfObjectsTransformer>();
}

TagListArrayController& controller(Object* self) {
    return *static_cast<TagListArrayController*>(self);
}

bool writeRows(Object* self, platform::runtime::Sel, TableView* table, Value rows,
               mailhost::Pasteboard* board) {
    return controller(self).tableViewWriteRows(table, rows.array() ? *rows.array() : Array(), board);
}

int validateDrop(Object* self, platform::runtime::Sel, TableView* table, mailhost::DraggingInfo* info,
                 int row, int operation) {
    return info ? controller(self).tableViewValidateDrop(table, *info, row,
                                                         static_cast<TableView::DropOperation>(operation))
                : TableView::kDragOperationNone;
}

bool acceptDrop(Object* self, platform::runtime::Sel, TableView* table, mailhost::DraggingInfo* info, int row,
                int operation) {
    return info && controller(self).tableViewAcceptDrop(table, *info, row,
                                                        static_cast<TableView::DropOperation>(operation));
}

Value arrangedObjectsImp(Object* self, platform::runtime::Sel) {
    return controller(self).arrangedObjects();
}

Value selectionIndexesImp(Object* self, platform::runtime::Sel) {
    Array rows;
    for (std::size_t i : controller(self).selectionIndexes())
        rows.add(static_cast<long long>(i));
    return rows;
}

void removeAt(Object* self, platform::runtime::Sel, int index) {
    if (index >= 0)
        controller(self).removeObjectAtArrangedObjectIndex(static_cast<std::size_t>(index));
}

} // namespace

void TagListArrayController::addMethods(Class& cls) {
    cls.addInstanceMethod("tableView:writeRows:toPasteboard:", &writeRows);
    cls.addInstanceMethod("tableView:validateDrop:proposedRow:proposedDropOperation:", &validateDrop);
    cls.addInstanceMethod("tableView:acceptDrop:row:dropOperation:", &acceptDrop);
    cls.addInstanceMethod("arrangedObjects", &arrangedObjectsImp);
    cls.addInstanceMethod("selectionIndexes", &selectionIndexesImp);
    cls.addInstanceMethod("removeObjectAtArrangedObjectIndex:", &removeAt);
}

TagListArrayController::TagListArrayController(Class* cls, std::string defaultsKey)
    : Object(cls), key_(std::move(defaultsKey)) {}

void TagListArrayController::setTable(std::shared_ptr<TableView> table) {
    table_ = std::move(table);
    if (!table_)
        return;
    table_->setCellWriter([this](std::size_t row, std::size_t, const Value& value) {
        const Value entry = arranged_.at(row);
        if (const platform::Dictionary* fields = entry.dictionary()) {
            platform::Dictionary(*fields).set(PreferenceLists::kTitle, value);
            storeInDefaults();
        }
    });
}

void TagListArrayController::awakeFromNib() {
    if (table_)
        table_->registerForDraggedTypes({kDraggingType});
}

void TagListArrayController::loadFromDefaults() {
    const Value content =
        listTransformer()->transformedValue(platform::UserDefaults::standard().valueForKey(key_));
    arranged_ = content.array() ? *content.array() : Array();
    setSelectionIndexes({});
}

void TagListArrayController::storeInDefaults() const {
    platform::UserDefaults::standard().setObject(listTransformer()->reverseTransformedValue(arranged_), key_);
}

void TagListArrayController::insertObjectAtArrangedObjectIndex(Value object, std::size_t index) {
    arranged_.insert(std::move(object), std::min(index, arranged_.count()));
    if (selectsInserted_)
        setSelectionIndex(std::min(index, arranged_.count() - 1));
    storeInDefaults();
    if (table_)
        table_->reloadData();
}

void TagListArrayController::removeObjectAtArrangedObjectIndex(std::size_t index) {
    if (index >= arranged_.count())
        return;
    arranged_.removeAt(index);
    IndexSet kept;
    for (std::size_t i : selection_)
        if (i != index)
            kept.insert(i > index ? i - 1 : i);
    setSelectionIndexes(std::move(kept));
    storeInDefaults();
    if (table_)
        table_->reloadData();
}

void TagListArrayController::setSelectionIndexes(IndexSet indexes) {
    selection_ = std::move(indexes);
    if (table_)
        table_->selectRowIndexes({selection_.begin(), selection_.end()});
}

bool TagListArrayController::tableViewWriteRows(TableView*, const Array& rows,
                                                mailhost::Pasteboard* pasteboard) {
    if (!pasteboard)
        return false;
    pasteboard->declareTypes({kDraggingType}, this);
    pasteboard->setPropertyList(rows, kDraggingType);
    return true;
}

int TagListArrayController::tableViewValidateDrop(TableView* table, const mailhost::DraggingInfo& info,
                                                  int proposedRow, TableView::DropOperation) {
    if (table)
        table->setDropRow(proposedRow, TableView::DropAbove);
    return info.draggingSource() == table ? TableView::kDragOperationMove : TableView::kDragOperationCopy;
}

bool TagListArrayController::tableViewAcceptDrop(TableView* table, const mailhost::DraggingInfo& info,
                                                 int row, TableView::DropOperation) {
    if (row < 0)
        row = 0;
    if (!table || info.draggingSource() != table || !info.draggingPasteboard())
        return false;
    const Value rows = info.draggingPasteboard()->propertyListForType(kDraggingType);
    const IndexSet indexes = indexSetFromRows(rows.array() ? *rows.array() : Array());
    const auto insert = static_cast<std::size_t>(row);
    moveObjectsInArrangedObjectsFromIndexes(indexes, insert);
    const std::size_t first = insert - rowsAboveRow(insert, indexes);
    IndexSet moved;
    for (std::size_t i = 0; i < indexes.size(); ++i)
        moved.insert(first + i);
    setSelectionIndexes(std::move(moved));
    return true;
}

void TagListArrayController::moveObjectsInArrangedObjectsFromIndexes(const IndexSet& indexes,
                                                                     std::size_t insert) {
    // Highest first, so the indexes still to come keep their meaning; objects taken from
    // below the drop move the drop up by one each, objects taken from at or after it
    // push the later ones down by one each.
    std::size_t aboveInsert = 0;
    for (auto it = indexes.rbegin(); it != indexes.rend(); ++it) {
        std::size_t from = *it;
        if (insert > from) {
            insert -= 1;
        } else {
            from += aboveInsert;
            aboveInsert += 1;
        }
        if (from >= arranged_.count())
            continue; // a row the list no longer has
        const Value object = arranged_.at(from);
        arranged_.removeAt(from);
        arranged_.insert(object, std::min(insert, arranged_.count()));
    }
    storeInDefaults();
    if (table_)
        table_->reloadData();
}

TagListArrayController::IndexSet TagListArrayController::indexSetFromRows(const Array& rows) {
    IndexSet indexes;
    for (const Value& row : rows.items())
        if (row.isNumber() && row.integerValue() >= 0)
            indexes.insert(static_cast<std::size_t>(row.integerValue()));
    return indexes;
}

std::size_t TagListArrayController::rowsAboveRow(std::size_t row, const IndexSet& indexes) {
    return static_cast<std::size_t>(std::distance(indexes.begin(), indexes.lower_bound(row)));
}

} // namespace lumetta
