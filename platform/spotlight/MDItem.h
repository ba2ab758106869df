#pragma once

#include "platform/foundation/Value.h"
#include "platform/spotlight/MetadataStore.h"

#include <string>
#include <string_view>
#include <vector>

namespace platform::spotlight {

// A file the metadata index knows, as the C-like item functions pass it around: the store
// that knows it and the file's path. A default reference is the "no item" answer.
class MDItemRef {
public:
    MDItemRef() = default;
    MDItemRef(MetadataStore& store, std::string path) : store_(&store), path_(std::move(path)) {}

    explicit operator bool() const { return store_ != nullptr; }
    MetadataStore* store() const { return store_; }
    const std::string& path() const { return path_; }

private:
    MetadataStore* store_ = nullptr;
    std::string path_;
};

// The item for the file at `path` in the current store, or no item when there is no current
// store or the index does not know the file (it was never indexed, or was removed).
MDItemRef MDItemCreate(std::string_view path);
// Null when there is no item or no such attribute.
Value MDItemCopyAttribute(const MDItemRef& item, std::string_view name);
// True when the attribute was there and is now gone.
bool MDItemRemoveAttribute(const MDItemRef& item, std::string_view name);
// The attributes' values in the order of `names`, null for each one that is absent.
Array MDItemCopyAttributeList(const MDItemRef& item, const std::vector<std::string>& names);

} // namespace platform::spotlight
