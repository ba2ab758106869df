#pragma once

#include "platform/spotlight/ItemSet.h"
#include "platform/sqlite/Statement.h"

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace platform::spotlight {

// A set of items written as one SQL SELECT of a single column, `item`, with its parameters,
// so that a whole query becomes one statement: counting its hits is one COUNT, and listing
// them one join with the items table, however many there are. Terms that the index cannot
// decide alone are checked in memory first and come in as the list of items they hold.
//
// The SQL holds only anonymous parameters (?), bound in the order they appear, so parts
// combine by joining their texts and their parameter lists.
class ItemSelect {
public:
    using Parameter = std::variant<std::int64_t, double, std::string>;

    // `sql` selects one column named `item`.
    explicit ItemSelect(std::string sql, std::vector<Parameter> parameters = {});

    static ItemSelect nothing();
    // Every item of the index.
    static ItemSelect everything();
    // Exactly these items.
    static ItemSelect of(const ItemSet& items);

    // Items in every part; nothing when there is no part.
    static ItemSelect intersection(std::vector<ItemSelect> parts);
    // Items in any part; nothing when there is no part.
    static ItemSelect unionOf(std::vector<ItemSelect> parts);
    // Items of `base` not in `removed`.
    static ItemSelect difference(ItemSelect base, ItemSelect removed);

    const std::string& sql() const { return sql_; }
    // How deeply its SELECTs nest: SQLite parses a bounded depth, so a caller turns a deep
    // part into the list of its items (of) before nesting it further.
    int depth() const { return depth_; }
    bool isNothing() const { return nothing_; }
    // Binds the parameters to ?first, ?first + 1, ...
    void bind(sqlite::Statement& statement, int first = 1) const;

private:
    static ItemSelect compound(const char* op, std::vector<ItemSelect> parts);

    std::string sql_;
    std::vector<Parameter> parameters_;
    int depth_ = 1;
    bool nothing_ = false;
};

} // namespace platform::spotlight
