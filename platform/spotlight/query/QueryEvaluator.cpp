#include "platform/spotlight/query/QueryEvaluator.h"

#include "platform/foundation/Date.h"
#include "platform/spotlight/query/ComparisonEvaluator.h"
#include "platform/spotlight/query/QueryParser.h"

namespace platform::spotlight {

namespace {

// A parsed tree is at most about two nodes deep per level of nesting; trees built by hand
// get the same bound, so that evaluating one cannot run out of stack either.
constexpr int kMaxNodeDepth = 2 * QueryParser::kMaxDepth + 4;

Result<ItemSet> evaluateNode(const QueryNode& node, ComparisonEvaluator& terms, int depth) {
    if (depth > kMaxNodeDepth)
        return makeError("the query nests too deeply");
    switch (node.kind) {
    case QueryNode::Kind::True:
        return terms.allItems();
    case QueryNode::Kind::False:
        return ItemSet();
    case QueryNode::Kind::Comparison:
        if (node.values.size() != 1)
            return makeError("a comparison needs one value");
        return terms.comparison(node);
    case QueryNode::Kind::InRange:
        if (node.values.size() != 2)
            return makeError("InRange needs two values");
        return terms.inRange(node);
    case QueryNode::Kind::Not: {
        if (node.children.size() != 1)
            return makeError("a negation needs one operand");
        auto operand = evaluateNode(node.children.front(), terms, depth + 1);
        if (!operand)
            return operand;
        auto all = terms.allItems();
        if (!all)
            return all;
        return ItemSet::difference(all.value(), operand.value());
    }
    case QueryNode::Kind::And:
    case QueryNode::Kind::Or:
        break;
    }
    const bool conjunction = node.kind == QueryNode::Kind::And;
    std::optional<ItemSet> result;
    for (const QueryNode& child : node.children) {
        // Once nothing is left, later terms cannot bring anything back.
        if (conjunction && result && result->empty())
            break;
        auto operand = evaluateNode(child, terms, depth + 1);
        if (!operand)
            return operand;
        if (!result)
            result = std::move(operand.value());
        else
            result = conjunction ? ItemSet::intersection(*result, operand.value())
                                 : ItemSet::unionOf(*result, operand.value());
    }
    return result.value_or(ItemSet());
}

} // namespace

Result<std::vector<std::string>> QueryEvaluator::evaluate(std::string_view query) const {
    auto tree = QueryParser::parse(query);
    if (!tree)
        return tree.error();
    return evaluate(tree.value());
}

Result<std::vector<std::string>> QueryEvaluator::evaluate(const QueryNode& query) const {
    const Date now = Clock::now();
    std::vector<std::string> paths;
    auto r = store_.read([&](MetadataLookup& lookup) -> Result<void> {
        ComparisonEvaluator terms(lookup, now);
        auto items = evaluateNode(query, terms, 0);
        if (!items)
            return items.error();
        auto found = lookup.paths(items.value());
        if (!found)
            return found.error();
        paths = std::move(found.value());
        return {};
    });
    if (!r)
        return r.error();
    return paths;
}

} // namespace platform::spotlight
