#pragma once

#include "platform/foundation/Date.h"

#include <cstddef>
#include <string>
#include <vector>

namespace platform::spotlight {

enum class QueryOperator { Equal, NotEqual, Less, Greater, LessOrEqual, GreaterOrEqual };

// The letters after a quoted value.
struct QueryModifiers {
    bool caseInsensitive = false;      // c
    bool diacriticInsensitive = false; // d
    bool wordBased = false;            // w: matches from the start of a word
};

enum class TimeFunction { Now, Today, Yesterday, ThisWeek, ThisMonth, ThisYear, Iso };

// The value side of a comparison, as written. Positions are byte offsets in the query.
struct QueryValue {
    enum class Kind { String, Number, Time };
    Kind kind = Kind::String;
    std::size_t position = 0;
    // String: the text between the quotes, quote escapes resolved and wildcard escapes
    // (\* \? \\) kept for the pattern. Number: the number as written.
    std::string text;
    QueryModifiers modifiers;
    // Number: its value. Time: the function's argument (seconds for now, else days, weeks,
    // months or years), 0 when it has none.
    double number = 0.0;
    TimeFunction time = TimeFunction::Now;
    Date iso; // $time.iso(...)
};

// The syntax tree of a query. And and Or hold all their operands, so a long chain of terms
// stays one level deep.
struct QueryNode {
    enum class Kind { And, Or, Not, Comparison, InRange, True, False };
    Kind kind = Kind::True;
    std::size_t position = 0;
    std::vector<QueryNode> children; // And, Or: two or more; Not: one
    // Comparison, InRange: the attribute's name; "*" for any attribute or the text.
    std::string attribute;
    QueryOperator op = QueryOperator::Equal;
    std::vector<QueryValue> values; // Comparison: one; InRange: the low and high ends
};

} // namespace platform::spotlight
