#include "platform/spotlight/MetadataLookup.h"

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
        auto stepped = LUMETTA_TRY(s.step());
        if (!stepped)
            return {};
        row(s);
    }
}

// A selection of the items with an element of attribute `name` (every attribute when it
// is empty) meeting `condition`, whose parameters follow the name's.
ItemSelect elementsWhere(std::string_view name, const std::string& condition,
                         std::vector<ItemSelect::Parameter> parameters) {
    std::string sql = "SELECT item FROM attributes WHERE ";
    if (!name.empty()) {
        sql += "name = ? AND ";
        parameters.insert(parameters.begin(), std::string(name));
    }
    return ItemSelect(sql + condition, std::move(parameters));
}

} // namespace

ItemSelect MetadataLookup::withFolded(std::string_view name, std::string_view folded) {
    return elementsWhere(name, "folded = ?", {std::string(folded)});
}

ItemSelect MetadataLookup::withAsciiString(std::string_view name, std::string_view folded,
                                           std::string_view text, bool ignoringCase) {
    return elementsWhere(name,
                         ignoringCase ? "folded = ? AND text = ? COLLATE NOCASE" : "folded = ? AND text = ?",
                         {std::string(folded), std::string(text)});
}

Result<void> MetadataLookup::stringElements(std::string_view name, std::string_view folded, bool whole,
                                            const ElementVisitor& visit, bool beyondAsciiOnly) {
    const std::string upper = whole ? std::string() : upperBound(std::string(folded));
    std::string condition = "folded = ?2";
    if (!whole)
        condition = folded.empty()  ? "folded IS NOT NULL"
                    : upper.empty() ? "folded >= ?2"
                                    : "folded >= ?2 AND folded < ?3";
    // A text longer in bytes than in characters holds something beyond ASCII.
    if (beyondAsciiOnly)
        condition += " AND length(CAST(text AS BLOB)) <> length(text)";
    auto statement = LUMETTA_TRY(statements_.get(attributeQuery("item, text, folded", name, condition)));
    sqlite::Statement& s = *statement;
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

Result<void> MetadataLookup::elementsContaining(std::string_view name, std::string_view folded,
                                                const ElementVisitor& visit) {
    // Still a scan of the attribute's elements, but inside SQLite: only those that can
    // match come out to be checked.
    auto statement =
        LUMETTA_TRY(statements_.get(attributeQuery("item, text, folded", name, "instr(folded, ?2) > 0")));
    sqlite::Statement& s = *statement;
    if (!name.empty())
        s.bind(1, name);
    s.bind(2, folded);
    return eachRow(s, [&](const sqlite::Statement& row) {
        visit(row.columnInt(0), row.columnText(1), row.columnText(2));
    });
}

ItemSelect MetadataLookup::withNumber(std::string_view name, NumberComparison comparison, double value) {
    return elementsWhere(name, std::string("number ") + sqlOperator(comparison) + " ?", {value});
}

ItemSelect MetadataLookup::withAnyNumber(std::string_view name) {
    return elementsWhere(name, "number IS NOT NULL", {});
}

ItemSelect MetadataLookup::withNumberBetween(std::string_view name, double low, double high) {
    return elementsWhere(name, "number BETWEEN ? AND ?", {low, high});
}

ItemSelect MetadataLookup::withText(std::string_view fullTextQuery) {
    return ItemSelect("SELECT rowid AS item FROM texts WHERE texts MATCH ?", {std::string(fullTextQuery)});
}

Result<void> MetadataLookup::texts(std::string_view fullTextQuery, const TextVisitor& visit) {
    auto statement = LUMETTA_TRY(statements_.get(fullTextQuery.empty()
                                                     ? "SELECT rowid, body FROM texts"
                                                     : "SELECT rowid, body FROM texts WHERE texts MATCH ?1"));
    sqlite::Statement& s = *statement;
    if (!fullTextQuery.empty())
        s.bind(1, fullTextQuery);
    return eachRow(s, [&](const sqlite::Statement& row) { visit(row.columnInt(0), row.columnText(1)); });
}

Result<ItemSet> MetadataLookup::items(const ItemSelect& select) {
    if (select.isNothing())
        return ItemSet();
    auto statement = LUMETTA_TRY(statements_.get("SELECT DISTINCT item FROM (" + select.sql() + ")"));
    sqlite::Statement& s = *statement;
    select.bind(s);
    std::vector<std::int64_t> ids;
    LUMETTA_TRY_VOID(eachRow(s, [&](const sqlite::Statement& row) { ids.push_back(row.columnInt(0)); }));
    return ItemSet::fromIds(std::move(ids));
}

Result<std::size_t> MetadataLookup::count(const ItemSelect& select) {
    if (select.isNothing())
        return std::size_t{0};
    auto statement = LUMETTA_TRY(statements_.get("SELECT count(DISTINCT item) FROM (" + select.sql() + ")"));
    sqlite::Statement& s = *statement;
    select.bind(s);
    auto row = LUMETTA_TRY(s.step());
    return static_cast<std::size_t>(row ? s.columnInt(0) : 0);
}

Result<std::vector<std::string>> MetadataLookup::paths(const ItemSelect& select) {
    std::vector<std::string> out;
    if (select.isNothing())
        return out;
    auto statement = LUMETTA_TRY(
        statements_.get("SELECT path FROM items WHERE id IN (" + select.sql() + ") ORDER BY path"));
    sqlite::Statement& s = *statement;
    select.bind(s);
    LUMETTA_TRY_VOID(eachRow(s, [&](const sqlite::Statement& row) { out.push_back(row.columnText(0)); }));
    return out;
}

} // namespace platform::spotlight
