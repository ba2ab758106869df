#pragma once

#include "platform/spotlight/query/QueryNode.h"

#include <cstddef>
#include <string>

namespace platform::spotlight {

// One word of a query, with where it starts (a byte offset) for error messages.
struct QueryToken {
    enum class Kind {
        Identifier, // an attribute name, or InRange, true, false
        Star,       // * in place of an attribute name
        String,     // a quoted value and its modifiers
        Number,
        Variable, // $time.today and the like
        Raw,      // the unquoted argument of $time.iso(...)
        LeftParen,
        RightParen,
        Comma,
        And,
        Or,
        Not,
        Equal,
        NotEqual,
        Less,
        Greater,
        LessOrEqual,
        GreaterOrEqual,
        End,
    };
    Kind kind = Kind::End;
    std::size_t position = 0;
    std::string text;
    QueryModifiers modifiers;
    double number = 0.0;
};

} // namespace platform::spotlight
