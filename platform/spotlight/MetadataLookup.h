#pragma once

#include "platform/foundation/Result.h"
#include "platform/spotlight/ItemSet.h"
#include "platform/spotlight/StatementCache.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace platform::spotlight {

enum class NumberComparison { Equal, Less, LessOrEqual, Greater, GreaterOrEqual };

// The reads a query is made of, each one indexed lookup or one scan of the attributes or
// texts tables. An empty attribute name stands for every attribute. Strings are found by
// their folded form (case and diacritics removed), which is what the index holds; the
// caller narrows candidates down to its exact rules. Only the store makes these, inside a
// read transaction, so every read of one query sees the same snapshot.
class MetadataLookup {
public:
    // Called with an item id and the text of one of its string elements (or its text).
    using TextVisitor = std::function<void(std::int64_t item, std::string_view text)>;
    // Called with an item id, one of its string elements and that element's folded form.
    using ElementVisitor =
        std::function<void(std::int64_t item, std::string_view text, std::string_view folded)>;

    explicit MetadataLookup(StatementCache& statements) : statements_(statements) {}

    // Items with a string element whose folded form is `folded`.
    [[nodiscard]] Result<ItemSet> itemsWithFolded(std::string_view name, std::string_view folded);
    // Every string element whose folded form is `folded` (`whole`) or starts with it; every
    // string element of the attribute when `folded` is an empty prefix.
    [[nodiscard]] Result<void> stringElements(std::string_view name, std::string_view folded, bool whole,
                                              const ElementVisitor& visit);
    // Items with a number or date element that compares to `value` as asked.
    [[nodiscard]] Result<ItemSet> itemsWithNumber(std::string_view name, NumberComparison comparison,
                                                  double value);
    // Items with any number or date element.
    [[nodiscard]] Result<ItemSet> itemsWithAnyNumber(std::string_view name);
    // Items with one number or date element in [low, high].
    [[nodiscard]] Result<ItemSet> itemsWithNumberBetween(std::string_view name, double low, double high);
    // Items whose text matches a full-text expression (every text when it is empty).
    [[nodiscard]] Result<void> texts(std::string_view fullTextQuery, const TextVisitor& visit);
    // The same, for callers that need no text to check.
    [[nodiscard]] Result<ItemSet> itemsWithText(std::string_view fullTextQuery);
    [[nodiscard]] Result<ItemSet> allItems();
    // The paths of the items, sorted.
    [[nodiscard]] Result<std::vector<std::string>> paths(const ItemSet& items);

private:
    [[nodiscard]] Result<ItemSet> collectItems(const std::string& sql, std::string_view name,
                                               const std::function<void(sqlite::Statement&)>& bind);

    StatementCache& statements_;
};

} // namespace platform::spotlight
