#pragma once

#include "platform/spotlight/query/QueryNode.h"
#include "platform/spotlight/query/ValuePattern.h"

#include <string>
#include <string_view>

namespace platform::spotlight {

// What a message's text must hold to equal a value. A text is searched by its words, as
// though the value carried `w`: "invoice" finds a message that mentions an invoice. The
// full-text index (which ignores case and diacritics) finds the candidates from the value's
// literal head; the exact rule then runs on them unless the index's answer is already exact.
class TextCondition {
public:
    TextCondition(std::string_view value, QueryModifiers modifiers);

    // The full-text expression for the candidates; empty when every text must be read
    // (the value starts with a wildcard, or its head holds no word to look up).
    const std::string& fullTextQuery() const { return fullTextQuery_; }
    bool needsCheck() const { return needsCheck_; }
    bool matches(std::string_view text) const;

private:
    ValuePattern pattern_;
    QueryModifiers modifiers_;
    std::string fullTextQuery_;
    bool needsCheck_ = true;
};

} // namespace platform::spotlight
