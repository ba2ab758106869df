#include "mailhost/viewer/TableViewManager.h"

#include "platform/runtime/Runtime.h"

namespace mailhost {

Class& TableViewManager::registerClass() {
    return platform::runtime::Runtime::defineClass(kClassName);
}

void TableViewManager::setColumnVisible(int column, bool visible) {
    if (visible)
        visible_.insert(column);
    else
        visible_.erase(column);
}

} // namespace mailhost
