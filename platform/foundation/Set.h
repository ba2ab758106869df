#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <vector>

namespace platform {

class Value;

// An unordered collection of distinct values (by isEqual) with reference semantics,
// like Array: every holder of a copy sees every edit. Iteration follows insertion
// order so that log lines and tests are stable. Sets are not property-list values:
// writing one into a property list is an error.
class Set {
public:
    Set();
    Set(std::initializer_list<Value> values);

    std::size_t count() const;
    bool empty() const { return count() == 0; }
    const std::vector<Value>& items() const;

    // Adding a value the set holds already changes nothing.
    void add(Value value);
    void remove(const Value& value);
    bool contains(const Value& value) const;

    Set mutableCopy() const;
    bool sameReference(const Set& other) const { return storage_ == other.storage_; }
    // Same members, in any order.
    bool isEqual(const Set& other) const;

private:
    struct Storage;
    std::shared_ptr<Storage> storage_;
};

} // namespace platform
