#include "platform/spotlight/ItemSet.h"

#include <algorithm>
#include <iterator>

namespace platform::spotlight {

ItemSet ItemSet::fromIds(std::vector<std::int64_t> ids) {
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    ItemSet set;
    set.ids_ = std::move(ids);
    return set;
}

ItemSet ItemSet::intersection(const ItemSet& a, const ItemSet& b) {
    ItemSet out;
    std::set_intersection(a.ids_.begin(), a.ids_.end(), b.ids_.begin(), b.ids_.end(),
                          std::back_inserter(out.ids_));
    return out;
}

ItemSet ItemSet::unionOf(const ItemSet& a, const ItemSet& b) {
    ItemSet out;
    out.ids_.reserve(a.size() + b.size());
    std::set_union(a.ids_.begin(), a.ids_.end(), b.ids_.begin(), b.ids_.end(), std::back_inserter(out.ids_));
    return out;
}

ItemSet ItemSet::difference(const ItemSet& a, const ItemSet& b) {
    ItemSet out;
    std::set_difference(a.ids_.begin(), a.ids_.end(), b.ids_.begin(), b.ids_.end(),
                        std::back_inserter(out.ids_));
    return out;
}

} // namespace platform::spotlight
