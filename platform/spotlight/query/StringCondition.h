#pragma once

#include "platform/spotlight/query/QueryNode.h"
#include "platform/spotlight/query/ValuePattern.h"

#include <string>
#include <string_view>

namespace platform::spotlight {

// What one string element must satisfy for a comparison, and how the index finds the
// candidates. The index holds each string folded (no case, no diacritics), which every
// modifier combination can narrow by; the exact rule then runs on the candidates only.
class StringCondition {
public:
    enum class Access {
        Equal,  // elements whose folded form is key()
        Prefix, // elements whose folded form starts with key()
        Within, // elements whose folded form contains key()
        Scan,   // every string element of the attribute
    };

    // `op` is never NotEqual: that is the complement of Equal, decided by the caller.
    StringCondition(QueryOperator op, std::string_view value, QueryModifiers modifiers);

    Access access() const { return access_; }
    // The folded value or head for Equal and Prefix access.
    const std::string& key() const { return key_; }
    // False when every candidate the access yields matches, so there is nothing to check.
    bool needsCheck() const { return needsCheck_; }
    // `folded` is the element's folded form, as the index holds it.
    bool matches(std::string_view element, std::string_view folded) const;
    // Equal access for a value in plain ASCII that still needs the check: an element in
    // plain ASCII matches exactly when it is this value (ignoring ASCII case when
    // asciiCaseIgnored), which the index can test itself, so only the candidates beyond
    // ASCII need the full rule. Null otherwise.
    const std::string* asciiValue() const { return asciiValue_ ? &pattern_.literal() : nullptr; }
    bool asciiCaseIgnored() const { return modifiers_.caseInsensitive; }

private:
    QueryOperator op_;
    ValuePattern pattern_;
    QueryModifiers modifiers_;
    Access access_ = Access::Scan;
    // Equal and Prefix: what the index looks up. Ordering: the value in the form the
    // modifiers compare in.
    std::string key_;
    bool needsCheck_ = true;
    // A prefix pattern under c and d: the folded form mostly decides on its own.
    bool prefixOfFolded_ = false;
    bool asciiValue_ = false;
    // A `*text*` pattern under c and d: the folded form mostly decides on its own.
    bool infixOfFolded_ = false;
};

} // namespace platform::spotlight
