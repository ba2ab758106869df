#include "platform/foundation/Array.h"

#include "platform/foundation/Value.h"

namespace platform {

struct Array::Storage {
    std::vector<Value> items;
};

Array::Array() : storage_(std::make_shared<Storage>()) {}

Array::Array(std::initializer_list<Value> values) : storage_(std::make_shared<Storage>()) {
    storage_->items.assign(values.begin(), values.end());
}

Array::Array(std::vector<Value> values) : storage_(std::make_shared<Storage>()) {
    storage_->items = std::move(values);
}

std::size_t Array::count() const {
    return storage_->items.size();
}

Value Array::at(std::size_t index) const {
    return index < storage_->items.size() ? storage_->items[index] : Value();
}

Value Array::first() const {
    return at(0);
}

Value Array::last() const {
    return empty() ? Value() : storage_->items.back();
}

const std::vector<Value>& Array::items() const {
    return storage_->items;
}

void Array::add(Value value) {
    storage_->items.push_back(std::move(value));
}

void Array::insert(Value value, std::size_t index) {
    auto& items = storage_->items;
    if (index > items.size())
        index = items.size();
    items.insert(items.begin() + static_cast<std::ptrdiff_t>(index), std::move(value));
}

void Array::replace(std::size_t index, Value value) {
    if (index < storage_->items.size())
        storage_->items[index] = std::move(value);
}

void Array::removeAt(std::size_t index) {
    auto& items = storage_->items;
    if (index < items.size())
        items.erase(items.begin() + static_cast<std::ptrdiff_t>(index));
}

void Array::remove(const Value& value) {
    // Compare against a copy: `value` may be one of our own elements.
    const Value needle = value;
    std::erase_if(storage_->items, [&](const Value& item) { return item.isEqual(needle); });
}

void Array::removeAll() {
    storage_->items.clear();
}

void Array::append(const Array& other) {
    const std::vector<Value> copy = other.items(); // safe when other is this array
    storage_->items.insert(storage_->items.end(), copy.begin(), copy.end());
}

bool Array::contains(const Value& value) const {
    return indexOf(value).has_value();
}

std::optional<std::size_t> Array::indexOf(const Value& value) const {
    const auto& items = storage_->items;
    for (std::size_t i = 0; i < items.size(); ++i)
        if (items[i].isEqual(value))
            return i;
    return std::nullopt;
}

Array Array::mutableCopy() const {
    return Array(storage_->items);
}

bool Array::isEqual(const Array& other) const {
    if (sameReference(other))
        return true;
    const auto& a = storage_->items;
    const auto& b = other.storage_->items;
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (!a[i].isEqual(b[i]))
            return false;
    return true;
}

} // namespace platform
