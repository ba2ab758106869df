#include "platform/foundation/Set.h"

#include "platform/foundation/Value.h"

#include <algorithm>

namespace platform {

struct Set::Storage {
    std::vector<Value> items;
};

Set::Set() : storage_(std::make_shared<Storage>()) {}

Set::Set(std::initializer_list<Value> values) : Set() {
    for (const Value& v : values)
        add(v);
}

std::size_t Set::count() const {
    return storage_->items.size();
}

const std::vector<Value>& Set::items() const {
    return storage_->items;
}

void Set::add(Value value) {
    if (!contains(value))
        storage_->items.push_back(std::move(value));
}

void Set::remove(const Value& value) {
    std::erase_if(storage_->items, [&](const Value& v) { return v.isEqual(value); });
}

bool Set::contains(const Value& value) const {
    return std::any_of(storage_->items.begin(), storage_->items.end(),
                       [&](const Value& v) { return v.isEqual(value); });
}

Set Set::mutableCopy() const {
    Set copy;
    copy.storage_->items = storage_->items;
    return copy;
}

bool Set::isEqual(const Set& other) const {
    if (count() != other.count())
        return false;
    return std::all_of(storage_->items.begin(), storage_->items.end(),
                       [&](const Value& v) { return other.contains(v); });
}

} // namespace platform
