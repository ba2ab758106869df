#pragma once

#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Value.h"

#include <string>

namespace lumetta {

// A record's set of keys whose removal from the message file is pending, as a command
// holds it while it edits the record: taken from the record (a set, or the array rule
// actions keep) or new and empty, edited, and stored back under the record's
// bookkeeping key.
class RemovalSet {
public:
    static RemovalSet takeFrom(const platform::Dictionary& record);

    // The removal step: the key leaves the record and joins the set (once).
    void remove(platform::Dictionary& record, const std::string& key);
    // Only the second half: the key joins the set (once).
    void add(const std::string& key);
    bool contains(const std::string& key) const;
    // Stores the set under the bookkeeping key, changed or not.
    void storeIn(platform::Dictionary& record) const;

private:
    explicit RemovalSet(platform::Value keys) : keys_(std::move(keys)) {}
    platform::Value keys_; // a Set or an Array, shared with the record it came from
};

} // namespace lumetta
