#pragma once

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace platform {

class Value;

// A string-keyed map with reference semantics (copies share one table) that keeps
// keys in insertion order. Setting a null value removes the key, so absence is the
// only way a key can be unset.
class Dictionary {
public:
    using Entry = std::pair<std::string, Value>;

    Dictionary();
    Dictionary(std::initializer_list<Entry> entries);

    std::size_t count() const;
    bool empty() const { return count() == 0; }

    // The value for `key`, or null when the key is absent.
    Value get(std::string_view key) const;
    bool contains(std::string_view key) const;
    void set(std::string key, Value value);
    void remove(std::string_view key);
    void removeAll();
    // Copies every entry of `other` into this dictionary (later keys win).
    void addEntries(const Dictionary& other);

    std::vector<std::string> keys() const;
    const std::vector<Entry>& entries() const;

    Dictionary mutableCopy() const;
    bool sameReference(const Dictionary& other) const { return storage_ == other.storage_; }

    // Same keys with equal values; the order of keys does not matter.
    bool isEqual(const Dictionary& other) const;

private:
    struct Storage;
    std::shared_ptr<Storage> storage_;
};

} // namespace platform
