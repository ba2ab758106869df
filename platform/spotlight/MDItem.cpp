#include "platform/spotlight/MDItem.h"

#include "platform/foundation/Log.h"

namespace platform::spotlight {

MDItemRef MDItemCreate(std::string_view path) {
    MetadataStore* store = MetadataStore::current();
    if (store == nullptr || !store->hasItem(path))
        return {};
    return MDItemRef(*store, std::string(path));
}

Value MDItemCopyAttribute(const MDItemRef& item, std::string_view name) {
    return item ? item.store()->attribute(item.path(), name) : Value();
}

bool MDItemRemoveAttribute(const MDItemRef& item, std::string_view name) {
    if (!item)
        return false;
    auto removed = item.store()->removeAttribute(item.path(), name);
    if (!removed) {
        Log::line("metadata index: cannot remove " + std::string(name) + " of " + item.path() + ": " +
                  removed.error().message);
        return false;
    }
    return removed.value();
}

Array MDItemCopyAttributeList(const MDItemRef& item, const std::vector<std::string>& names) {
    // One read of the attributes asked for, so that the values all come from the same moment.
    const Dictionary all = item ? item.store()->attributes(item.path(), names) : Dictionary();
    Array values;
    for (const std::string& name : names)
        values.add(all.get(name));
    return values;
}

} // namespace platform::spotlight
