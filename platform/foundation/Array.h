#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <optional>
#include <vector>

namespace platform {

class Value;

// An ordered collection of values with reference semantics: copying an Array copies
// the reference, so every holder sees every edit. mutableCopy() makes a new, separate
// array holding the same elements (containers inside are shared, as in a shallow copy).
class Array {
public:
    Array();
    Array(std::initializer_list<Value> values);
    explicit Array(std::vector<Value> values);

    std::size_t count() const;
    bool empty() const { return count() == 0; }

    // The element at `index`, or null when the index is out of range.
    Value at(std::size_t index) const;
    Value first() const;
    Value last() const;
    const std::vector<Value>& items() const;

    void add(Value value);
    void insert(Value value, std::size_t index);
    void replace(std::size_t index, Value value);
    void removeAt(std::size_t index);
    // Removes every element equal to `value`.
    void remove(const Value& value);
    void removeAll();
    void append(const Array& other);

    bool contains(const Value& value) const;
    std::optional<std::size_t> indexOf(const Value& value) const;

    Array mutableCopy() const;
    bool sameReference(const Array& other) const { return storage_ == other.storage_; }

    bool isEqual(const Array& other) const;

private:
    struct Storage;
    std::shared_ptr<Storage> storage_;
};

} // namespace platform
