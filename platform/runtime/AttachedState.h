#pragma once

#include "platform/foundation/Dictionary.h"

#include <cstddef>
#include <mutex>
#include <unordered_map>

namespace platform::runtime {

// Extra per-object fields for host objects that cannot grow fields of their own: a
// table from the object's address (not owned) to a mutable dictionary, with one lock
// held only while the table itself is looked up or changed. An entry exists from
// the first request until the object's dealloc removes it.
class AttachedState {
public:
    explicit AttachedState(std::size_t capacity = 7) { table_.reserve(capacity); }
    AttachedState(const AttachedState&) = delete;
    AttachedState& operator=(const AttachedState&) = delete;

    // The object's dictionary, created empty on the first request.
    Dictionary extraIVars(const void* object);
    bool has(const void* object) const;
    void remove(const void* object);
    std::size_t count() const;

private:
    mutable std::mutex mutex_;
    std::unordered_map<const void*, Dictionary> table_;
};

} // namespace platform::runtime
