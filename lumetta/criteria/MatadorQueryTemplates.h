#pragma once

#include "mailhost/criteria/MessageCriterion.h"

#include <optional>
#include <string>

namespace lumetta {

// The metadata query text each tag criterion is answered with, over the attributes the
// tag mirror writes. The expression goes in as the user typed it, unescaped: a quote or
// an asterisk in it is part of the query. Spacing, trailing blanks and the single "="
// of some rows are part of the texts as saved smart mailboxes have always had them.
class MatadorQueryTemplates {
public:
    // What a criterion becomes: no row applies (it stays as it is), a query text, or,
    // for a due date with a qualifier of no meaning, nothing at all.
    struct Query {
        bool applies = false;
        std::optional<std::string> text;
    };

    // For a criterion on its own.
    static Query single(const mailhost::MessageCriterion& criterion);
    // For a part of a compound, where the to-do rows take only "YES" and "NO" and rows
    // without a meaning for the qualifier leave the part as it is.
    static Query compound(const mailhost::MessageCriterion& criterion);

    // The host's body search, widened so that it also finds the note.
    static std::string widenedBodyQuery(const std::optional<std::string>& expression);
};

} // namespace lumetta
