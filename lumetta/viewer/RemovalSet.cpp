#include "lumetta/viewer/RemovalSet.h"

#include "lumetta/store/TagKeys.h"

namespace lumetta {

using platform::Value;

RemovalSet RemovalSet::takeFrom(const platform::Dictionary& record) {
    Value pending = record.get(TagKeys::kTagsToRemove);
    if (pending.isSet() || pending.isArray())
        return RemovalSet(std::move(pending));
    return RemovalSet(Value(platform::Set{}));
}

void RemovalSet::remove(platform::Dictionary& record, const std::string& key) {
    record.remove(key);
    add(key);
}

void RemovalSet::add(const std::string& key) {
    // Sets and arrays share their storage: editing the copy edits the record's own.
    if (const platform::Set* set = keys_.set())
        platform::Set(*set).add(key);
    else if (const platform::Array* array = keys_.array(); array && !array->contains(key))
        platform::Array(*array).add(key);
}

bool RemovalSet::contains(const std::string& key) const {
    if (const platform::Set* set = keys_.set())
        return set->contains(key);
    if (const platform::Array* array = keys_.array())
        return array->contains(key);
    return false;
}

void RemovalSet::storeIn(platform::Dictionary& record) const {
    record.set(TagKeys::kTagsToRemove, keys_);
}

} // namespace lumetta
