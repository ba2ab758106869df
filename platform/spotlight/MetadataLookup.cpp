#include "platform/spotlight/MetadataLookup.h"

#include <algorithm>

namespace platform::spotlight {

namespace {

// Rows of one attribute (?1) or of all of them, meeting `condition`.
std::string attributeQuery(std::string_view columns, std::string_view name, std::string_view condition) {
    std::string sql = "SELECT ";
    sql += columns;
    sql += " FROM attributes WHERE ";
    if (!name.empty())
        sql += "name = ?1 AND ";
    sql += condition;
    return sql;
}

const char* sqlOperator(NumberComparison comparison) {
    switch (comparison) {
    case NumberComparison::Equal:
        return "=";
    case NumberComparison::Less:
        return "<";
    case NumberComparison::LessOrEqual:
        return "<=";
    case NumberComparison::Greater:
        return ">";
    case NumberComparison::GreaterOrEqual:
        return ">=";
    }
    return "=";
}

// The smallest string above every string that starts with `prefix`, or "" when there is
// none. UTF-8 never holds 0xFF, so in practice the last byte just goes up by one.
std::string upperBound(std::string prefix) {
    while (!prefix.empty() && static_cast<unsigned char>(prefix.back()) == 0xFF)
        prefix.pop_back();
    if (!prefix.empty())
        prefix.back() = static_cast<char>(static_cast<unsigned char>(prefix.back()) + 1);
    return prefix;
}

// Steps through every row of a statement.
Result<void> eachRow(sqlite::Statement& s, const std::function<void(const sqlite::Statement&)>& row) {
    for (;;) {
        auto stepped = s.step();
        if (!stepped)
            return stepped.error();
        if (!stepped.value())
            return {};
        row(s);
    }
}

} // namespace

Result<ItemSet> MetadataLookup::collectItems(const std::string& sql, std::string_view name,
                                             const std::function<void(sqlite::Statement&)>& bind) {
    auto statement = statements_.get(sql);
    if (!statement)
        return statement.error();
    sqlite::Statement& s = *statement.value();
    if (!name.empty())
        s.bind(1, name);
    bind(s);
    std::vector<std::int64_t> ids;
    if (auto r = eachRow(s, [&](const sqlite::Statement& row) { ids.push_back(row.columnInt(0)); }); !r)
        return r.error();
    return ItemSet::fromIds(std::move(ids));
}

Result<ItemSet> MetadataLookup::itemsWithFolded(std::string_view name, std::string_view folded) {
    return collectItems(attributeQuery("item", name, "folded = ?2"), name,
                        [&](sqlite::Statement& s) { s.bind(2, folded); });
}

Result<void> MetadataLookup::stringElements(std::string_view name, std::string_view folded, bool whole,
                                            const ElementVisitor& visit) {
    const std::string upper = whole ? std::string() : upperBound(std::string(folded));
    std::string condition = "folded = ?2";
    if (!whole)
        condition = folded.empty()  ? "folded IS NOT NULL"
                    : upper.empty() ? "folded >= ?2"
                                    : "folded >= ?2 AND folded < ?3";
    auto statement = statements_.get(attributeQuery("item, text, folded", name, condition));
    if (!statement)
        return statement.error();
    sqlite::Statement& s = *statement.value();
    if (!name.empty())
        s.bind(1, name);
    if (whole || !folded.empty())
        s.bind(2, folded);
    if (!upper.empty())
        s.bind(3, std::string_view(upper));
    return eachRow(s, [&](const sqlite::Statement& row) {
        visit(row.columnInt(0), row.columnText(1), row.columnText(2));
    });
}

Result<ItemSet> MetadataLookup::itemsWithNumber(std::string_view name, NumberComparison comparison,
                                                double value) {
    const std::string condition = std::string("number ") + sqlOperator(comparison) + " ?2";
    return collectItems(attributeQuery("item", name, condition), name,
                        [&](sqlite::Statement& s) { s.bind(2, value); });
}

Result<ItemSet> MetadataLookup::itemsWithAnyNumber(std::string_view name) {
    return collectItems(attributeQuery("item", name, "number IS NOT NULL"), name, [](sqlite::Statement&) {});
}

Result<ItemSet> MetadataLookup::itemsWithNumberBetween(std::string_view name, double low, double high) {
    return collectItems(attributeQuery("item", name, "number BETWEEN ?2 AND ?3"), name,
                        [&](sqlite::Statement& s) { s.bind(2, low).bind(3, high); });
}

Result<void> MetadataLookup::texts(std::string_view fullTextQuery, const TextVisitor& visit) {
    auto statement =
        statements_.get(fullTextQuery.empty() ? "SELECT rowid, body FROM texts"
                                              : "SELECT rowid, body FROM texts WHERE texts MATCH ?1");
    if (!statement)
        return statement.error();
    sqlite::Statement& s = *statement.value();
    if (!fullTextQuery.empty())
        s.bind(1, fullTextQuery);
    return eachRow(s, [&](const sqlite::Statement& row) { visit(row.columnInt(0), row.columnText(1)); });
}

Result<ItemSet> MetadataLookup::itemsWithText(std::string_view fullTextQuery) {
    return collectItems("SELECT rowid FROM texts WHERE texts MATCH ?1", {},
                        [&](sqlite::Statement& s) { s.bind(1, fullTextQuery); });
}

Result<ItemSet> MetadataLookup::allItems() {
    return collectItems("SELECT id FROM items", {}, [](sqlite::Statement&) {});
}

Result<std::vector<std::string>> MetadataLookup::paths(const ItemSet& items) {
    auto statement = statements_.get("SELECT path FROM items WHERE id = ?1");
    if (!statement)
        return statement.error();
    sqlite::Statement& s = *statement.value();
    std::vector<std::string> out;
    out.reserve(items.size());
    for (const std::int64_t id : items.ids()) {
        s.reset();
        s.bind(1, id);
        auto row = s.step();
        if (!row)
            return row.error();
        if (row.value())
            out.push_back(s.columnText(0));
    }
    std::sort(out.begin(), out.end());
    return out;
}

} // namespace platform::spotlight
