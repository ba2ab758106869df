#pragma once

#include "platform/foundation/Result.h"
#include "platform/spotlight/ItemSet.h"
#include "platform/spotlight/query/ItemSelect.h"
#include "platform/sqlite/StatementCache.h"

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace platform::spotlight {

enum class NumberComparison { Equal, Less, LessOrEqual, Greater, GreaterOrEqual };

// The reads a query is made of: selections of items, each one indexed lookup in the
// attributes or texts tables, which a query combines into one statement, and the scans
// of string elements and texts that a query checks in memory. An empty attribute name
// stands for every attribute. Strings are found by
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

    explicit MetadataLookup(sqlite::StatementCache& statements) : statements_(statements) {}

    // Items with a string element whose folded form is `folded`.
    static ItemSelect withFolded(std::string_view name, std::string_view folded);
    // Items with a string element whose folded form is `folded` and that is `text`
    // (ignoring ASCII case when asked): exact for elements in plain ASCII.
    static ItemSelect withAsciiString(std::string_view name, std::string_view folded, std::string_view text,
                                      bool ignoringCase);
    // Every string element whose folded form is `folded` (`whole`) or starts with it; every
    // string element of the attribute when `folded` is an empty prefix. Only elements with
    // characters beyond ASCII when `beyondAsciiOnly`.
    [[nodiscard]] Result<void> stringElements(std::string_view name, std::string_view folded, bool whole,
                                              const ElementVisitor& visit, bool beyondAsciiOnly = false);
    // Every string element whose folded form contains `folded`.
    [[nodiscard]] Result<void> elementsContaining(std::string_view name, std::string_view folded,
                                                  const ElementVisitor& visit);
    // Items with a number or date element that compares to `value` as asked.
    static ItemSelect withNumber(std::string_view name, NumberComparison comparison, double value);
    // Items with any number or date element.
    static ItemSelect withAnyNumber(std::string_view name);
    // Items with one number or date element in [low, high].
    static ItemSelect withNumberBetween(std::string_view name, double low, double high);
    // Items whose text matches a full-text expression.
    static ItemSelect withText(std::string_view fullTextQuery);
    // Items whose text matches a full-text expression (every text when it is empty), with
    // the text, for callers that check more than the full-text index can.
    [[nodiscard]] Result<void> texts(std::string_view fullTextQuery, const TextVisitor& visit);

    // Runs a selection: its items, how many there are, or their paths (sorted), each in
    // one statement.
    [[nodiscard]] Result<ItemSet> items(const ItemSelect& select);
    [[nodiscard]] Result<std::size_t> count(const ItemSelect& select);
    [[nodiscard]] Result<std::vector<std::string>> paths(const ItemSelect& select);

private:
    sqlite::StatementCache& statements_;
};

} // namespace platform::spotlight
