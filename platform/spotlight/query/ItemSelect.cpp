#include "platform/spotlight/query/ItemSelect.h"

#include <algorithm>

namespace platform::spotlight {

namespace {

// SQLite allows 500 SELECTs in one compound; longer lists of terms are grouped.
constexpr std::size_t kMaxCompoundParts = 64;

} // namespace

ItemSelect::ItemSelect(std::string sql, std::vector<Parameter> parameters)
    : sql_(std::move(sql)), parameters_(std::move(parameters)) {}

ItemSelect ItemSelect::nothing() {
    ItemSelect none("SELECT id AS item FROM items WHERE 0");
    none.nothing_ = true;
    return none;
}

ItemSelect ItemSelect::everything() {
    return ItemSelect("SELECT id AS item FROM items");
}

ItemSelect ItemSelect::of(const ItemSet& items) {
    if (items.empty())
        return nothing();
    // One JSON array, whatever the number of items: the statement stays the same text and
    // is prepared once.
    std::string list = "[";
    for (const std::int64_t id : items.ids()) {
        list += std::to_string(id);
        list += ',';
    }
    list.back() = ']';
    return ItemSelect("SELECT value AS item FROM json_each(?)", {std::move(list)});
}

ItemSelect ItemSelect::compound(const char* op, std::vector<ItemSelect> parts) {
    while (parts.size() > kMaxCompoundParts) {
        std::vector<ItemSelect> grouped;
        for (std::size_t at = 0; at < parts.size(); at += kMaxCompoundParts) {
            const std::size_t end = std::min(parts.size(), at + kMaxCompoundParts);
            grouped.push_back(
                compound(op, std::vector<ItemSelect>(std::make_move_iterator(parts.begin() + at),
                                                     std::make_move_iterator(parts.begin() + end))));
        }
        parts = std::move(grouped);
    }
    if (parts.size() == 1)
        return std::move(parts.front());
    ItemSelect out("");
    out.depth_ = 0;
    for (ItemSelect& part : parts) {
        if (!out.sql_.empty())
            out.sql_ += op;
        out.sql_ += "SELECT item FROM (" + part.sql_ + ")";
        out.parameters_.insert(out.parameters_.end(), std::make_move_iterator(part.parameters_.begin()),
                               std::make_move_iterator(part.parameters_.end()));
        out.depth_ = std::max(out.depth_, part.depth_ + 1);
    }
    return out;
}

ItemSelect ItemSelect::intersection(std::vector<ItemSelect> parts) {
    if (parts.empty() || std::any_of(parts.begin(), parts.end(), [](const auto& p) { return p.nothing_; }))
        return nothing();
    return compound(" INTERSECT ", std::move(parts));
}

ItemSelect ItemSelect::unionOf(std::vector<ItemSelect> parts) {
    std::erase_if(parts, [](const ItemSelect& p) { return p.nothing_; });
    if (parts.empty())
        return nothing();
    return compound(" UNION ", std::move(parts));
}

ItemSelect ItemSelect::difference(ItemSelect base, ItemSelect removed) {
    if (base.nothing_ || removed.nothing_)
        return base;
    std::vector<ItemSelect> parts;
    parts.push_back(std::move(base));
    parts.push_back(std::move(removed));
    return compound(" EXCEPT ", std::move(parts));
}

void ItemSelect::bind(sqlite::Statement& statement, int first) const {
    int index = first;
    for (const Parameter& parameter : parameters_) {
        if (const auto* text = std::get_if<std::string>(&parameter))
            statement.bind(index++, std::string_view(*text));
        else if (const auto* integer = std::get_if<std::int64_t>(&parameter))
            statement.bind(index++, *integer);
        else
            statement.bind(index++, std::get<double>(parameter));
    }
}

} // namespace platform::spotlight
