#pragma once

#include <cstddef>
#include <unordered_map>

namespace platform {

// A map from keys (typically an object's address, which the table does not own) to
// values. It has no lock of its own: whoever shares it pairs it with a Lock.
template <class Key, class Value> class MapTable {
public:
    explicit MapTable(std::size_t capacity = 0) { map_.reserve(capacity); }

    // The value for `key`, or nullptr.
    Value* objectForKey(const Key& key) {
        auto it = map_.find(key);
        return it == map_.end() ? nullptr : &it->second;
    }
    void setObject(Value value, const Key& key) { map_.insert_or_assign(key, std::move(value)); }
    void removeObjectForKey(const Key& key) { map_.erase(key); }
    std::size_t count() const { return map_.size(); }

private:
    std::unordered_map<Key, Value> map_;
};

} // namespace platform
