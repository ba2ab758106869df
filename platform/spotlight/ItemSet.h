#pragma once

#include <cstdint>
#include <vector>

namespace platform::spotlight {

// A set of item ids, kept sorted and distinct so that the boolean operators of a query
// are linear merges rather than hash lookups per id.
class ItemSet {
public:
    ItemSet() = default;
    // Sorts and removes repeats: lookups yield an id once per matching element.
    static ItemSet fromIds(std::vector<std::int64_t> ids);

    static ItemSet intersection(const ItemSet& a, const ItemSet& b);
    static ItemSet unionOf(const ItemSet& a, const ItemSet& b);
    // The ids of `a` that are not in `b`.
    static ItemSet difference(const ItemSet& a, const ItemSet& b);

    const std::vector<std::int64_t>& ids() const { return ids_; }
    std::size_t size() const { return ids_.size(); }
    bool empty() const { return ids_.empty(); }

private:
    std::vector<std::int64_t> ids_;
};

} // namespace platform::spotlight
