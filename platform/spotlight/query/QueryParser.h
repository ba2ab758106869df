#pragma once

#include "platform/foundation/Result.h"
#include "platform/spotlight/query/QueryNode.h"
#include "platform/spotlight/query/QueryToken.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace platform::spotlight {

// Reads a query into its syntax tree:
//     query      := or
//     or         := and ("||" and)*
//     and        := unary ("&&" unary)*
//     unary      := "!" unary | "(" or ")" | "true" | "false" | range | comparison
//     range      := "InRange" "(" attribute "," value "," value ")"
//     comparison := attribute ("==" | "=" | "!=" | "<" | ">" | "<=" | ">=") value
//     attribute  := name | "*"
//     value      := quoted [c][d][w] | number | $time.now ["(" n ")"] | ... | $time.iso "(" date ")"
// Text that does not read is an error whose code is the byte offset of the trouble.
class QueryParser {
public:
    // Parentheses and negations nest at most this deep. No real query comes near it, and
    // the parser and the evaluator descend one call per level, so a hostile query must not
    // choose how deep they go.
    static constexpr int kMaxDepth = 200;

    [[nodiscard]] static Result<QueryNode> parse(std::string_view query);

private:
    explicit QueryParser(std::vector<QueryToken> tokens) : tokens_(std::move(tokens)) {}

    [[nodiscard]] Result<QueryNode> disjunction(int depth);
    [[nodiscard]] Result<QueryNode> chain(int depth, bool conjunction);
    [[nodiscard]] Result<QueryNode> unary(int depth);
    [[nodiscard]] Result<QueryNode> primary(int depth);
    [[nodiscard]] Result<QueryNode> comparison();
    [[nodiscard]] Result<QueryNode> range();
    [[nodiscard]] Result<QueryValue> value();
    [[nodiscard]] Result<QueryValue> time();
    [[nodiscard]] Result<void> close(std::size_t openedAt);
    [[nodiscard]] Result<void> comma();

    const QueryToken& peek(std::size_t ahead = 0) const;
    const QueryToken& advance();

    std::vector<QueryToken> tokens_;
    std::size_t at_ = 0;
};

} // namespace platform::spotlight
