#pragma once

#include "platform/foundation/Date.h"
#include "platform/foundation/Result.h"
#include "platform/spotlight/MetadataLookup.h"
#include "platform/spotlight/query/ItemSelect.h"
#include "platform/spotlight/query/QueryNode.h"

#include <optional>
#include <string>
#include <string_view>

namespace platform::spotlight {

// Finds the items that satisfy one comparison or InRange term. Where the query language's
// public description is silent, this class decides, and nothing else does:
//
//  - An attribute with several values (an array) satisfies a comparison when any one of its
//    values does.
//  - `a != v` is exactly `!(a == v)`. So it also selects the items without `a`.
//  - A missing attribute satisfies no comparison other than `!=`: `a == "*"` selects the
//    items that have `a`, and `a != "*"` those that lack it.
//  - A value is read by the type of the value it meets. Numbers and dates compare as
//    numbers (dates as seconds since 1 January 2001), so `kMDItemStarRating > "2"cd` compares
//    2 with the rating and ignores the modifiers; a quoted ISO date works for dates as well.
//    Strings compare as text under the modifiers; a number meets them as it is written.
//  - InRange(a, low, high) holds when one value v of `a` has low <= v <= high.
//  - The text (kMDItemTextContent) is searched by its words with == (and so !=); ordering
//    and InRange never select by it.
//  - `*` stands for every attribute and the text: an item satisfies `* op v` when any of
//    them does.
class ComparisonEvaluator {
public:
    ComparisonEvaluator(MetadataLookup& lookup, Date now) : lookup_(lookup), now_(now) {}

    // The items of a term, as a selection the index answers when it can decide the term
    // alone, else as the items found by reading candidates and checking them here.
    [[nodiscard]] Result<ItemSelect> comparison(const QueryNode& node);
    [[nodiscard]] Result<ItemSelect> inRange(const QueryNode& node);

private:
    // The items with a value that satisfies `op` (never NotEqual).
    [[nodiscard]] Result<ItemSelect> satisfying(std::string_view attribute, QueryOperator op,
                                                const QueryValue& value);
    [[nodiscard]] Result<ItemSelect> strings(std::string_view name, QueryOperator op, const std::string& text,
                                             QueryModifiers modifiers);
    [[nodiscard]] Result<ItemSelect> words(const QueryValue& value);
    // The value as a number, when it reads as one.
    std::optional<double> numberOf(const QueryValue& value) const;
    // The value as text, when it has a written form ($time values have none).
    static std::optional<std::string> textOf(const QueryValue& value);

    MetadataLookup& lookup_;
    Date now_;
};

} // namespace platform::spotlight
