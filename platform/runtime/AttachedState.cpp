#include "platform/runtime/AttachedState.h"

#include "platform/foundation/Value.h"

namespace platform::runtime {

Dictionary AttachedState::extraIVars(const void* object) {
    std::lock_guard lock(mutex_);
    auto it = table_.find(object);
    if (it == table_.end())
        it = table_.emplace(object, Dictionary()).first;
    return it->second;
}

bool AttachedState::has(const void* object) const {
    std::lock_guard lock(mutex_);
    return table_.count(object) != 0;
}

void AttachedState::remove(const void* object) {
    Dictionary dropped;
    {
        std::lock_guard lock(mutex_);
        auto it = table_.find(object);
        if (it == table_.end())
            return;
        dropped = std::move(it->second);
        table_.erase(it);
    }
    // `dropped` releases the dictionary here, outside the lock: its values may be
    // large and their release must not hold up other threads' look-ups.
}

std::size_t AttachedState::count() const {
    std::lock_guard lock(mutex_);
    return table_.size();
}

} // namespace platform::runtime
