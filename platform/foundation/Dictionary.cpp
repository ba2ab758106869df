#include "platform/foundation/Dictionary.h"

#include "platform/foundation/Value.h"

#include <unordered_map>

namespace platform {

// Entries live in insertion order. Tag records and message-file property lists hold
// a dozen keys, where a linear scan beats hashing; a hash index is built only once a
// dictionary grows past kIndexThreshold.
struct Dictionary::Storage {
    static constexpr std::size_t kIndexThreshold = 24;

    std::vector<Entry> entries;
    std::unordered_map<std::string_view, std::size_t> index; // views into entries' keys

    std::ptrdiff_t find(std::string_view key) const {
        if (!index.empty()) {
            auto it = index.find(key);
            return it == index.end() ? -1 : static_cast<std::ptrdiff_t>(it->second);
        }
        for (std::size_t i = 0; i < entries.size(); ++i)
            if (entries[i].first == key)
                return static_cast<std::ptrdiff_t>(i);
        return -1;
    }

    void rebuildIndex() {
        index.clear();
        if (entries.size() < kIndexThreshold)
            return;
        index.reserve(entries.size() * 2);
        for (std::size_t i = 0; i < entries.size(); ++i)
            index.emplace(entries[i].first, i);
    }

    void append(std::string key, Value value) {
        const bool reallocates = entries.size() == entries.capacity();
        entries.emplace_back(std::move(key), std::move(value));
        // Views into the keys survive a push_back only if nothing moved (short
        // strings live inside the entry and move with it).
        if (reallocates || entries.size() == kIndexThreshold)
            rebuildIndex();
        else if (!index.empty())
            index.emplace(entries.back().first, entries.size() - 1);
    }
};

Dictionary::Dictionary() : storage_(std::make_shared<Storage>()) {}

Dictionary::Dictionary(std::initializer_list<Entry> entries) : storage_(std::make_shared<Storage>()) {
    for (const auto& [key, value] : entries)
        set(key, value);
}

std::size_t Dictionary::count() const {
    return storage_->entries.size();
}

Value Dictionary::get(std::string_view key) const {
    const auto i = storage_->find(key);
    return i < 0 ? Value() : storage_->entries[static_cast<std::size_t>(i)].second;
}

bool Dictionary::contains(std::string_view key) const {
    return storage_->find(key) >= 0;
}

void Dictionary::set(std::string key, Value value) {
    if (value.isNull()) {
        remove(key);
        return;
    }
    const auto i = storage_->find(key);
    if (i >= 0)
        storage_->entries[static_cast<std::size_t>(i)].second = std::move(value);
    else
        storage_->append(std::move(key), std::move(value));
}

void Dictionary::remove(std::string_view key) {
    const auto i = storage_->find(key);
    if (i < 0)
        return;
    storage_->entries.erase(storage_->entries.begin() + i);
    storage_->rebuildIndex();
}

void Dictionary::removeAll() {
    storage_->entries.clear();
    storage_->index.clear();
}

void Dictionary::addEntries(const Dictionary& other) {
    if (sameReference(other))
        return;
    for (const auto& [key, value] : other.entries())
        set(key, value);
}

std::vector<std::string> Dictionary::keys() const {
    std::vector<std::string> keys;
    keys.reserve(storage_->entries.size());
    for (const auto& entry : storage_->entries)
        keys.push_back(entry.first);
    return keys;
}

const std::vector<Dictionary::Entry>& Dictionary::entries() const {
    return storage_->entries;
}

Dictionary Dictionary::mutableCopy() const {
    Dictionary copy;
    copy.storage_->entries = storage_->entries;
    copy.storage_->rebuildIndex();
    return copy;
}

bool Dictionary::isEqual(const Dictionary& other) const {
    if (sameReference(other))
        return true;
    if (count() != other.count())
        return false;
    for (const auto& [key, value] : storage_->entries) {
        const auto j = other.storage_->find(key);
        if (j < 0 || !value.isEqual(other.storage_->entries[static_cast<std::size_t>(j)].second))
            return false;
    }
    return true;
}

} // namespace platform
