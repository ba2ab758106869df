#include "platform/spotlight/query/QueryEvaluator.h"

#include "platform/foundation/Date.h"
#include "platform/spotlight/query/ComparisonEvaluator.h"
#include "platform/spotlight/query/QueryParser.h"

namespace platform::spotlight {

namespace {

// A parsed tree is at most about two nodes deep per level of nesting; trees built by hand
// get the same bound, so that evaluating one cannot run out of stack either.
constexpr int kMaxNodeDepth = 2 * QueryParser::kMaxDepth + 4;

// SELECTs nested deeper than this are run on their own first and nested as the list of
// their items: SQLite's parser takes a bounded depth, a query's nesting is the user's.
constexpr int kMaxSelectDepth = 8;

struct Evaluation {
    ComparisonEvaluator& terms;
    MetadataLookup& lookup;
};

Result<ItemSelect> shallow(Result<ItemSelect> select, MetadataLookup& lookup) {
    if (!select || select.value().depth() <= kMaxSelectDepth)
        return select;
    auto items = LUMETTA_TRY(lookup.items(select.value()));
    return ItemSelect::of(items);
}

Result<ItemSelect> evaluateNode(const QueryNode& node, Evaluation& with, int depth) {
    if (depth > kMaxNodeDepth)
        return makeError("the query nests too deeply");
    switch (node.kind) {
    case QueryNode::Kind::True:
        return ItemSelect::everything();
    case QueryNode::Kind::False:
        return ItemSelect::nothing();
    case QueryNode::Kind::Comparison:
        if (node.values.size() != 1)
            return makeError("a comparison needs one value");
        return shallow(with.terms.comparison(node), with.lookup);
    case QueryNode::Kind::InRange:
        if (node.values.size() != 2)
            return makeError("InRange needs two values");
        return shallow(with.terms.inRange(node), with.lookup);
    case QueryNode::Kind::Not: {
        if (node.children.size() != 1)
            return makeError("a negation needs one operand");
        auto operand = evaluateNode(node.children.front(), with, depth + 1);
        if (!operand)
            return operand;
        return shallow(ItemSelect::difference(ItemSelect::everything(), std::move(operand.value())),
                       with.lookup);
    }
    case QueryNode::Kind::And:
    case QueryNode::Kind::Or:
        break;
    }
    std::vector<ItemSelect> parts;
    for (const QueryNode& child : node.children) {
        auto operand = evaluateNode(child, with, depth + 1);
        if (!operand)
            return operand;
        parts.push_back(std::move(operand.value()));
    }
    return shallow(node.kind == QueryNode::Kind::And ? ItemSelect::intersection(std::move(parts))
                                                     : ItemSelect::unionOf(std::move(parts)),
                   with.lookup);
}

// Runs `use` on the selection of a query, over one snapshot of the index.
template <class Use> Result<void> select(const MetadataStore& store, const QueryNode& query, Use&& use) {
    const Date now = Clock::now();
    return store.read([&](MetadataLookup& lookup) -> Result<void> {
        ComparisonEvaluator terms(lookup, now);
        Evaluation with{terms, lookup};
        auto selected = LUMETTA_TRY(evaluateNode(query, with, 0));
        return use(lookup, selected);
    });
}

} // namespace

Result<std::vector<std::string>> QueryEvaluator::evaluate(std::string_view query) const {
    auto tree = LUMETTA_TRY(QueryParser::parse(query));
    return evaluate(tree);
}

Result<std::vector<std::string>> QueryEvaluator::evaluate(const QueryNode& query) const {
    std::vector<std::string> paths;
    auto r = select(store_, query, [&](MetadataLookup& lookup, const ItemSelect& items) -> Result<void> {
        auto found = LUMETTA_TRY(lookup.paths(items));
        paths = std::move(found);
        return {};
    });
    if (!r)
        return r.error();
    return paths;
}

Result<std::size_t> QueryEvaluator::count(std::string_view query) const {
    auto tree = LUMETTA_TRY(QueryParser::parse(query));
    return count(tree);
}

Result<std::size_t> QueryEvaluator::count(const QueryNode& query) const {
    std::size_t found = 0;
    auto r = select(store_, query, [&](MetadataLookup& lookup, const ItemSelect& items) -> Result<void> {
        auto counted = LUMETTA_TRY(lookup.count(items));
        found = counted;
        return {};
    });
    if (!r)
        return r.error();
    return found;
}

} // namespace platform::spotlight
