#include "platform/spotlight/query/QueryParser.h"

#include "platform/spotlight/query/QueryError.h"
#include "platform/spotlight/query/QueryLexer.h"
#include "platform/spotlight/query/QueryTime.h"

#include <cmath>
#include <string>

namespace platform::spotlight {

namespace {

using Kind = QueryToken::Kind;

struct TimeName {
    const char* name;
    TimeFunction function;
};

constexpr TimeName kTimeNames[] = {
    {"$time.now", TimeFunction::Now},
    {"$time.today", TimeFunction::Today},
    {"$time.yesterday", TimeFunction::Yesterday},
    {"$time.this_week", TimeFunction::ThisWeek},
    {"$time.this_month", TimeFunction::ThisMonth},
    {"$time.this_year", TimeFunction::ThisYear},
    {"$time.iso", TimeFunction::Iso},
};

bool isComparison(Kind kind) {
    return kind == Kind::Equal || kind == Kind::NotEqual || kind == Kind::Less || kind == Kind::Greater ||
           kind == Kind::LessOrEqual || kind == Kind::GreaterOrEqual;
}

QueryOperator operatorOf(Kind kind) {
    switch (kind) {
    case Kind::NotEqual:
        return QueryOperator::NotEqual;
    case Kind::Less:
        return QueryOperator::Less;
    case Kind::Greater:
        return QueryOperator::Greater;
    case Kind::LessOrEqual:
        return QueryOperator::LessOrEqual;
    case Kind::GreaterOrEqual:
        return QueryOperator::GreaterOrEqual;
    default:
        return QueryOperator::Equal;
    }
}

// How a token reads in an error message.
std::string quote(const QueryToken& token) {
    return token.kind == Kind::End ? std::string("the end of the query") : "'" + token.text + "'";
}

} // namespace

Result<QueryNode> QueryParser::parse(std::string_view query) {
    auto tokens = LUMETTA_TRY(QueryLexer::tokenize(query));
    QueryParser parser(std::move(tokens));
    auto tree = parser.disjunction(0);
    if (!tree)
        return tree;
    const QueryToken& rest = parser.peek();
    if (rest.kind == Kind::RightParen)
        return QueryError::at(rest.position, "this parenthesis closes nothing");
    if (rest.kind != Kind::End)
        return QueryError::at(rest.position, "expected && or || before " + quote(rest));
    return tree;
}

const QueryToken& QueryParser::peek(std::size_t ahead) const {
    // The lexer always ends the list with an End token, so stay on it.
    return tokens_[std::min(at_ + ahead, tokens_.size() - 1)];
}

const QueryToken& QueryParser::advance() {
    const QueryToken& token = peek();
    if (at_ + 1 < tokens_.size())
        ++at_;
    return token;
}

Result<QueryNode> QueryParser::disjunction(int depth) {
    return chain(depth, false);
}

// Terms joined by && (or by ||) become one node holding them all.
Result<QueryNode> QueryParser::chain(int depth, bool conjunction) {
    const Kind joiner = conjunction ? Kind::And : Kind::Or;
    const auto operand = [&] {
        return conjunction ? unary(depth) : chain(depth, true);
    };
    auto first = operand();
    if (!first || peek().kind != joiner)
        return first;
    QueryNode node;
    node.kind = conjunction ? QueryNode::Kind::And : QueryNode::Kind::Or;
    node.position = first.value().position;
    node.children.push_back(std::move(first.value()));
    while (peek().kind == joiner) {
        advance();
        auto next = operand();
        if (!next)
            return next;
        node.children.push_back(std::move(next.value()));
    }
    return node;
}

Result<QueryNode> QueryParser::unary(int depth) {
    if (depth > kMaxDepth)
        return QueryError::at(peek().position,
                              "the query nests deeper than " + std::to_string(kMaxDepth) + " levels");
    if (peek().kind != Kind::Not)
        return primary(depth);
    QueryNode node;
    node.kind = QueryNode::Kind::Not;
    node.position = advance().position;
    auto operand = unary(depth + 1);
    if (!operand)
        return operand;
    node.children.push_back(std::move(operand.value()));
    return node;
}

Result<QueryNode> QueryParser::primary(int depth) {
    const QueryToken& token = peek();
    if (token.kind == Kind::LeftParen) {
        const std::size_t opened = advance().position;
        auto inner = disjunction(depth + 1);
        if (!inner)
            return inner;
        LUMETTA_TRY_VOID(close(opened));
        return inner;
    }
    if (token.kind == Kind::Identifier && (token.text == "true" || token.text == "false")) {
        QueryNode node;
        node.kind = token.text == "true" ? QueryNode::Kind::True : QueryNode::Kind::False;
        node.position = advance().position;
        return node;
    }
    if (token.kind == Kind::Identifier && token.text == "InRange" && peek(1).kind == Kind::LeftParen)
        return range();
    return comparison();
}

Result<QueryNode> QueryParser::comparison() {
    const QueryToken& attribute = peek();
    if (attribute.kind != Kind::Identifier && attribute.kind != Kind::Star)
        return QueryError::at(attribute.position, "expected an attribute name, '*', '(' or '!' where " +
                                                      quote(attribute) + " is");
    QueryNode node;
    node.kind = QueryNode::Kind::Comparison;
    node.position = attribute.position;
    node.attribute = advance().text;
    const QueryToken& op = peek();
    if (!isComparison(op.kind))
        return QueryError::at(op.position, "expected a comparison (==, !=, <, >, <=, >=) after " +
                                               node.attribute + ", not " + quote(op));
    node.op = operatorOf(advance().kind);
    auto operand = LUMETTA_TRY(value());
    node.values.push_back(std::move(operand));
    return node;
}

Result<QueryNode> QueryParser::range() {
    QueryNode node;
    node.kind = QueryNode::Kind::InRange;
    node.position = advance().position;
    const std::size_t opened = advance().position;
    const QueryToken& attribute = peek();
    if (attribute.kind != Kind::Identifier && attribute.kind != Kind::Star)
        return QueryError::at(attribute.position, "expected an attribute name in InRange");
    node.attribute = advance().text;
    for (int i = 0; i < 2; ++i) {
        LUMETTA_TRY_VOID(comma());
        auto bound = LUMETTA_TRY(value());
        node.values.push_back(std::move(bound));
    }
    LUMETTA_TRY_VOID(close(opened));
    return node;
}

Result<QueryValue> QueryParser::value() {
    const QueryToken& token = peek();
    QueryValue v;
    v.position = token.position;
    switch (token.kind) {
    case Kind::String:
    case Kind::Number:
        v.kind = token.kind == Kind::String ? QueryValue::Kind::String : QueryValue::Kind::Number;
        v.text = token.text;
        v.modifiers = token.modifiers;
        v.number = token.number;
        advance();
        return v;
    case Kind::Variable:
        return time();
    default:
        return QueryError::at(token.position,
                              "expected a value (a quoted string, a number or $time...) where " +
                                  quote(token) + " is");
    }
}

Result<QueryValue> QueryParser::time() {
    const QueryToken& token = advance();
    QueryValue v;
    v.kind = QueryValue::Kind::Time;
    v.position = token.position;
    const TimeName* found = nullptr;
    for (const TimeName& name : kTimeNames) {
        if (token.text == name.name)
            found = &name;
    }
    if (found == nullptr)
        return QueryError::at(token.position, "unknown time function " + quote(token) +
                                                  "; known are $time.now, today, yesterday, this_week, "
                                                  "this_month, this_year and iso");
    v.time = found->function;
    if (peek().kind != Kind::LeftParen) {
        if (v.time == TimeFunction::Iso)
            return QueryError::at(token.position, "$time.iso needs a date, as in $time.iso(2026-03-01)");
        return v;
    }
    const std::size_t opened = advance().position;
    const QueryToken& argument = advance();
    if (v.time == TimeFunction::Iso) {
        auto date = argument.kind == Kind::Raw || argument.kind == Kind::String
                        ? QueryTime::parseIso(argument.text)
                        : std::nullopt;
        if (!date)
            return QueryError::at(argument.position, "expected an ISO 8601 date such as 2026-03-01 or "
                                                     "2026-03-01T09:30:00Z");
        v.iso = *date;
    } else {
        if (argument.kind != Kind::Number)
            return QueryError::at(argument.position, "expected a number in " + token.text + "(...)");
        const bool calendar = v.time != TimeFunction::Now;
        if (calendar && (argument.number != std::trunc(argument.number) ||
                         std::fabs(argument.number) > QueryTime::kMaxCalendarArgument))
            return QueryError::at(argument.position,
                                  token.text + " counts whole units, at most 100000 either way");
        v.number = argument.number;
    }
    LUMETTA_TRY_VOID(close(opened));
    return v;
}

Result<void> QueryParser::close(std::size_t openedAt) {
    const QueryToken& token = peek();
    if (token.kind == Kind::RightParen) {
        advance();
        return {};
    }
    if (token.kind == Kind::End)
        return QueryError::at(openedAt, "this parenthesis is never closed");
    return QueryError::at(token.position, "expected ')' where " + quote(token) + " is");
}

Result<void> QueryParser::comma() {
    const QueryToken& token = peek();
    if (token.kind != Kind::Comma)
        return QueryError::at(token.position, "expected ',' in InRange where " + quote(token) + " is");
    advance();
    return {};
}

} // namespace platform::spotlight
