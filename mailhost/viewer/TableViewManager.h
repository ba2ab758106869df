#pragma once

#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <set>

namespace mailhost {

using platform::runtime::Class;
using platform::runtime::Object;

// The message list's columns: which are shown. Columns are known by number; a bundle
// may add columns of its own numbers.
class TableViewManager : public Object {
public:
    static constexpr const char* kClassName = "TableViewManager";
    static Class& registerClass();
    explicit TableViewManager(Class* cls) : Object(cls) {}

    bool isColumnVisible(int column) const { return visible_.contains(column); }
    void setColumnVisible(int column, bool visible);

private:
    std::set<int> visible_;
};

} // namespace mailhost
