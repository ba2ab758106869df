#include "lumetta/criteria/MatadorQueryTemplates.h"

#include "lumetta/criteria/TagCriterionTypes.h"
#include "platform/foundation/Format.h"
#include "platform/foundation/Value.h"

namespace lumetta {

using mailhost::MessageCriterion;
using platform::Value;
namespace types = TagCriterionTypes;

namespace {

using Query = MatadorQueryTemplates::Query;

Query text(std::string query) {
    return {true, std::move(query)};
}

Value expressionValue(const MessageCriterion& c) {
    return c.expression() ? Value(*c.expression()) : Value();
}

// The template with the criterion's expression for %@ (nil reads "(null)").
Query with(const char* templ, const MessageCriterion& c) {
    return text(platform::format(templ, {expressionValue(c)}));
}

// The template with the expression's leading integer plus `add` for %d.
Query withDays(const char* templ, const MessageCriterion& c, int add) {
    return text(platform::format(templ, {Value(expressionValue(c).intValue() + add)}));
}

bool is(const MessageCriterion& c, std::string_view expression) {
    return c.expression() && *c.expression() == expression;
}

bool identifierIs(const MessageCriterion& c, std::string_view a, std::string_view b = {}) {
    const std::string& id = c.criterionIdentifier();
    return id == a || (!b.empty() && id == b);
}

// The rows both tables share, and the two ways they differ: the to-do rows and the
// qualifiers without a row.
Query translate(const MessageCriterion& c, bool inCompound) {
    const int q = c.qualifier();
    if (identifierIs(c, MessageCriterion::kMetadataQueryIdentifier))
        return text(MatadorQueryTemplates::widenedBodyQuery(c.expression()));
    if (identifierIs(c, types::kShortAnnotationIdentifier, types::kAnnotationIdentifier))
        return with(q == MessageCriterion::kDoesNotContain ? "kMDItemComment != \"*%@*\"cd"
                                                           : "kMDItemComment == \"*%@*\"cd",
                    c);
    if (identifierIs(c, types::kToDoLinkIdentifier)) {
        if (is(c, "NO"))
            return text("lumettaICalUID != \"*\"cd");
        if (inCompound && !is(c, "YES"))
            return {};
        return text("lumettaICalUID == \"*\"cd");
    }
    if (identifierIs(c, types::kToDoCompletedIdentifier)) {
        if (is(c, "YES"))
            return text("lumettaICalCompletionDate == \"*\"cd");
        if (is(c, "NO"))
            return text("lumettaICalCompletionDate != \"*\"cd");
        if (inCompound)
            return {};
        return with("lumettaICalCompletionDate == \"*%@*\"cd", c);
    }
    if (identifierIs(c, types::kShortProjectIdentifier, types::kProjectIdentifier)) {
        if (q == MessageCriterion::kIsEqualTo && is(c, "None"))
            return text("kMDItemProjects != \"*\"cd ");
        if (q == MessageCriterion::kDoesNotContain && is(c, "None"))
            return text("kMDItemProjects == \"*\"cd ");
        if (q == MessageCriterion::kDoesNotContain)
            return with(" kMDItemProjects != \"%@\"cd ||  kMDItemProjects != \"*\"cd", c);
        if (q == MessageCriterion::kContains)
            return with("kMDItemProjects == \"*%@*\"cd ", c);
        return with("kMDItemProjects = \"%@\"cd ", c);
    }
    if (identifierIs(c, types::kKeyWordIdentifier)) {
        if (q == MessageCriterion::kIsEqualTo && is(c, "None"))
            return text("kMDItemKeywords != \"*\"cd ");
        if (q == MessageCriterion::kDoesNotContain && is(c, "None"))
            return text("kMDItemKeywords == \"*\"cd ");
        if (q == MessageCriterion::kDoesNotContain)
            return with("(kMDItemKeywords != \"%@\"cd || kMDItemKeywords !=\"*\"cd) ", c);
        if (q == MessageCriterion::kContains)
            return with("kMDItemKeywords == \"*%@*\"cd ", c);
        return with("kMDItemKeywords == \"%@\"cd", c);
    }
    if (identifierIs(c, types::kPriorityIdentifier)) {
        switch (q) {
        case MessageCriterion::kIsEqualTo:
            return with("kMDItemStarRating = \"%@\"cd", c);
        case MessageCriterion::kDoesNotContain:
            return with("kMDItemStarRating != \"%@\"cd", c);
        case MessageCriterion::kIsGreaterThan:
            return with("kMDItemStarRating > \"%@\"cd", c);
        case MessageCriterion::kIsLessThan:
            return with("kMDItemStarRating < \"%@\"cd", c);
        default:
            return {}; // no meaning: left as it is
        }
    }
    if (identifierIs(c, types::kShortDueDateIdentifier, types::kDueDateIdentifier)) {
        switch (q) {
        case MessageCriterion::kIsGreaterThan:
            return withDays("kMDItemDueDate>=$time.today(%d)", c, 0);
        case MessageCriterion::kIsLessThan:
            return withDays("kMDItemDueDate<$time.today(%d)", c, 0);
        case MessageCriterion::kIsEqualTo:
            if (is(c, "PastDue"))
                return text("kMDItemDueDate<$time.today");
            if (is(c, "None"))
                return text("kMDItemDueDate!=\"*\"cd");
            if (is(c, "Anything"))
                return text("kMDItemDueDate==\"*\"cd");
            return withDays("kMDItemDueDate>$time.today && kMDItemDueDate<$time.today(%d)", c, 1);
        default:
            // On its own such a criterion still becomes a query, of nothing; in a
            // compound it stays for the host to answer.
            return inCompound ? Query{} : Query{true, std::nullopt};
        }
    }
    return {};
}

} // namespace

Query MatadorQueryTemplates::single(const MessageCriterion& criterion) {
    return translate(criterion, false);
}

Query MatadorQueryTemplates::compound(const MessageCriterion& criterion) {
    return translate(criterion, true);
}

std::string MatadorQueryTemplates::widenedBodyQuery(const std::optional<std::string>& expression) {
    const Value original = expression ? Value(*expression) : Value();
    std::string literal = expression.value_or(std::string());
    // The same search over the note, as a literal search anywhere in it.
    const std::string from = "kMDItemTextContent = \"";
    const std::string to = "kMDItemComment = \"*";
    for (std::size_t at = literal.find(from); at != std::string::npos;
         at = literal.find(from, at + to.size()))
        literal.replace(at, from.size(), to);
    return platform::format("(%@ || %@)", {original, expression ? Value(literal) : Value()});
}

} // namespace lumetta
