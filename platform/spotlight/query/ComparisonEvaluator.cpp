#include "platform/spotlight/query/ComparisonEvaluator.h"

#include "platform/spotlight/MetadataStore.h"
#include "platform/spotlight/query/QueryTime.h"
#include "platform/spotlight/query/StringCondition.h"
#include "platform/spotlight/query/TextCondition.h"

#include <charconv>
#include <cmath>
#include <vector>

namespace platform::spotlight {

namespace {

NumberComparison numberComparison(QueryOperator op) {
    switch (op) {
    case QueryOperator::Less:
        return NumberComparison::Less;
    case QueryOperator::LessOrEqual:
        return NumberComparison::LessOrEqual;
    case QueryOperator::Greater:
        return NumberComparison::Greater;
    case QueryOperator::GreaterOrEqual:
        return NumberComparison::GreaterOrEqual;
    default:
        return NumberComparison::Equal;
    }
}

std::string_view trimmed(std::string_view s) {
    while (!s.empty() && (s.front() == ' ' || s.front() == '\t'))
        s.remove_prefix(1);
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t'))
        s.remove_suffix(1);
    return s;
}

// The attribute to look up: all of them for "*".
std::string_view lookupName(std::string_view attribute) {
    return attribute == "*" ? std::string_view() : attribute;
}

Result<ItemSelect> unite(Result<ItemSelect> found, Result<ItemSelect> more) {
    if (!found)
        return found;
    if (!more)
        return more;
    std::vector<ItemSelect> parts;
    parts.push_back(std::move(found.value()));
    parts.push_back(std::move(more.value()));
    return ItemSelect::unionOf(std::move(parts));
}

} // namespace

Result<ItemSelect> ComparisonEvaluator::comparison(const QueryNode& node) {
    const QueryValue& value = node.values.front();
    if (node.op != QueryOperator::NotEqual)
        return satisfying(node.attribute, node.op, value);
    auto equal = satisfying(node.attribute, QueryOperator::Equal, value);
    if (!equal)
        return equal;
    return ItemSelect::difference(ItemSelect::everything(), std::move(equal.value()));
}

Result<ItemSelect> ComparisonEvaluator::satisfying(std::string_view attribute, QueryOperator op,
                                                   const QueryValue& value) {
    const std::optional<std::string> text = textOf(value);
    const std::optional<double> number = numberOf(value);
    Result<ItemSelect> found = ItemSelect::nothing();
    if (attribute != kMDItemTextContent) {
        const std::string_view name = lookupName(attribute);
        if (text)
            found = unite(std::move(found), strings(name, op, *text, value.modifiers));
        if (number)
            found = unite(std::move(found), MetadataLookup::withNumber(name, numberComparison(op), *number));
        else if (text && op == QueryOperator::Equal && ValuePattern(*text).matchesEverything())
            found = unite(std::move(found), MetadataLookup::withAnyNumber(name));
    }
    if ((attribute == kMDItemTextContent || attribute == "*") && text && op == QueryOperator::Equal)
        found = unite(std::move(found), words(value));
    return found;
}

Result<ItemSelect> ComparisonEvaluator::strings(std::string_view name, QueryOperator op,
                                                const std::string& text, QueryModifiers modifiers) {
    const StringCondition condition(op, text, modifiers);
    if (condition.access() == StringCondition::Access::Equal && !condition.needsCheck())
        return MetadataLookup::withFolded(name, condition.key());
    std::vector<std::int64_t> ids;
    const auto collect = [&](std::int64_t item, std::string_view element, std::string_view folded) {
        if (!condition.needsCheck() || condition.matches(element, folded))
            ids.push_back(item);
    };
    if (const std::string* ascii = condition.asciiValue()) {
        LUMETTA_TRY_VOID(lookup_.stringElements(name, condition.key(), true, collect, true));
        return unite(
            MetadataLookup::withAsciiString(name, condition.key(), *ascii, condition.asciiCaseIgnored()),
            ItemSelect::of(ItemSet::fromIds(std::move(ids))));
    }
    Result<void> read;
    switch (condition.access()) {
    case StringCondition::Access::Equal:
        read = lookup_.stringElements(name, condition.key(), true, collect);
        break;
    case StringCondition::Access::Prefix:
        read = lookup_.stringElements(name, condition.key(), false, collect);
        break;
    case StringCondition::Access::Within:
        read = lookup_.elementsContaining(name, condition.key(), collect);
        break;
    case StringCondition::Access::Scan:
        read = lookup_.stringElements(name, {}, false, collect);
        break;
    }
    LUMETTA_TRY_VOID(read);
    return ItemSelect::of(ItemSet::fromIds(std::move(ids)));
}

Result<ItemSelect> ComparisonEvaluator::words(const QueryValue& value) {
    const TextCondition condition(*textOf(value), value.modifiers);
    if (!condition.needsCheck() && !condition.fullTextQuery().empty())
        return MetadataLookup::withText(condition.fullTextQuery());
    std::vector<std::int64_t> ids;
    LUMETTA_TRY_VOID(lookup_.texts(condition.fullTextQuery(), [&](std::int64_t item, std::string_view text) {
        if (!condition.needsCheck() || condition.matches(text))
            ids.push_back(item);
    }));
    return ItemSelect::of(ItemSet::fromIds(std::move(ids)));
}

Result<ItemSelect> ComparisonEvaluator::inRange(const QueryNode& node) {
    if (node.attribute == kMDItemTextContent)
        return ItemSelect::nothing();
    const std::string_view name = lookupName(node.attribute);
    const QueryValue& low = node.values[0];
    const QueryValue& high = node.values[1];
    ItemSelect found = ItemSelect::nothing();
    const std::optional<double> lowNumber = numberOf(low);
    const std::optional<double> highNumber = numberOf(high);
    if (lowNumber && highNumber)
        found = MetadataLookup::withNumberBetween(name, *lowNumber, *highNumber);
    const std::optional<std::string> lowText = textOf(low);
    const std::optional<std::string> highText = textOf(high);
    if (!lowText || !highText)
        return found;
    QueryModifiers modifiers;
    modifiers.caseInsensitive = low.modifiers.caseInsensitive || high.modifiers.caseInsensitive;
    modifiers.diacriticInsensitive =
        low.modifiers.diacriticInsensitive || high.modifiers.diacriticInsensitive;
    const StringCondition from(QueryOperator::GreaterOrEqual, *lowText, modifiers);
    const StringCondition to(QueryOperator::LessOrEqual, *highText, modifiers);
    std::vector<std::int64_t> ids;
    LUMETTA_TRY_VOID(lookup_.stringElements(
        name, {}, false, [&](std::int64_t item, std::string_view element, std::string_view folded) {
            if (from.matches(element, folded) && to.matches(element, folded))
                ids.push_back(item);
        }));
    return unite(std::move(found), ItemSelect::of(ItemSet::fromIds(std::move(ids))));
}

std::optional<double> ComparisonEvaluator::numberOf(const QueryValue& value) const {
    switch (value.kind) {
    case QueryValue::Kind::Number:
        return value.number;
    case QueryValue::Kind::Time:
        return QueryTime::evaluate(value, now_).seconds;
    case QueryValue::Kind::String:
        break;
    }
    const std::string_view text = trimmed(value.text);
    double number = 0.0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
    if (!text.empty() && parsed.ec == std::errc() && parsed.ptr == text.data() + text.size() &&
        std::isfinite(number))
        return number;
    if (auto date = QueryTime::parseIso(text))
        return date->seconds;
    return std::nullopt;
}

std::optional<std::string> ComparisonEvaluator::textOf(const QueryValue& value) {
    if (value.kind == QueryValue::Kind::Time)
        return std::nullopt;
    return value.text;
}

} // namespace platform::spotlight
