#include "platform/spotlight/query/StringCondition.h"

#include "platform/foundation/Text.h"

#include <algorithm>

namespace platform::spotlight {

StringCondition::StringCondition(QueryOperator op, std::string_view value, QueryModifiers modifiers)
    : op_(op), pattern_(value), modifiers_(modifiers) {
    if (op_ != QueryOperator::Equal) {
        key_ = text::fold(pattern_.literal(), modifiers_.caseInsensitive, modifiers_.diacriticInsensitive);
        return;
    }
    if (pattern_.matchesEverything()) {
        needsCheck_ = false;
    } else if (modifiers_.wordBased) {
        // A word can stand anywhere in the string, so no prefix of it narrows the search.
    } else if (!pattern_.hasWildcards()) {
        access_ = Access::Equal;
        key_ = text::fold(pattern_.head(), true, true);
        // The folded form is exactly what c and d together compare.
        needsCheck_ = !(modifiers_.caseInsensitive && modifiers_.diacriticInsensitive);
        // Plain ASCII is its own composed form and has no diacritics, and its case is
        // ASCII case; characters beyond it (a Kelvin sign for K) still need the rule.
        asciiValue_ = needsCheck_ && std::all_of(pattern_.literal().begin(), pattern_.literal().end(),
                                                 [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    } else if (modifiers_.caseInsensitive && modifiers_.diacriticInsensitive &&
               !text::fold(pattern_.infix(), true, true).empty()) {
        access_ = Access::Within;
        key_ = text::fold(pattern_.infix(), true, true);
        infixOfFolded_ = true;
    } else if (!pattern_.head().empty()) {
        access_ = Access::Prefix;
        key_ = text::fold(pattern_.head(), true, true);
        prefixOfFolded_ =
            pattern_.isPrefix() && modifiers_.caseInsensitive && modifiers_.diacriticInsensitive;
    }
}

namespace {

bool isPlainAscii(char c) {
    return static_cast<unsigned char>(c) < 0x80 && c != '\r' && c != '\n';
}

} // namespace

bool StringCondition::matches(std::string_view element, std::string_view folded) const {
    // The folded form is what c and d compare, so a folded string that starts with the folded
    // head matches "head*" - provided the two meet between whole characters, which is
    // certain where plain ASCII meets plain ASCII (and otherwise checked in full below).
    if (prefixOfFolded_) {
        if (!folded.starts_with(key_))
            return false;
        if (folded.size() == key_.size() || (isPlainAscii(key_.back()) && isPlainAscii(folded[key_.size()])))
            return true;
    }
    // Likewise for "*text*": found in the folded form between plain ASCII on both sides.
    if (infixOfFolded_) {
        const std::size_t at = folded.find(key_);
        if (at == std::string_view::npos)
            return false;
        const std::size_t end = at + key_.size();
        if ((at == 0 || (isPlainAscii(folded[at - 1]) && isPlainAscii(key_.front()))) &&
            (end == folded.size() || (isPlainAscii(folded[end]) && isPlainAscii(key_.back()))))
            return true;
    }
    const bool c = modifiers_.caseInsensitive;
    const bool d = modifiers_.diacriticInsensitive;
    if (op_ == QueryOperator::Equal) {
        if (pattern_.matchesEverything())
            return true;
        return modifiers_.wordBased ? text::wordMatch(element, pattern_.source(), c, d)
                                    : text::wildcardMatch(element, pattern_.source(), c, d);
    }
    // Ordering compares code points of the forms the modifiers ask for; wildcards mean
    // nothing here.
    const int order = text::fold(element, c, d).compare(key_);
    switch (op_) {
    case QueryOperator::Less:
        return order < 0;
    case QueryOperator::Greater:
        return order > 0;
    case QueryOperator::LessOrEqual:
        return order <= 0;
    case QueryOperator::GreaterOrEqual:
        return order >= 0;
    default:
        return false;
    }
}

} // namespace platform::spotlight
