#include "calendarapp/app/TestClause.h"

#include "calendarapp/app/DescValues.h"
#include "platform/appleevents/AEDescription.h"

#include <algorithm>

namespace calendarapp {

using namespace platform::appleevents;
using platform::Result;
using Node = TestClause::Node;

namespace {

constexpr std::size_t kMaxTerms = 1024;

platform::Error badTest(const std::string& why, const AEDesc& test) {
    return platform::makeError("Bad test: " + why + " in " + describe(test) + ".", errAEBadTestKey);
}

bool isKnownComparison(OSType op) {
    for (OSType known : {kAEEquals, kAEGreaterThan, kAELessThan, kAEGreaterThanEquals, kAELessThanEquals,
                         kAEContains, kAEBeginsWith, kAEEndsWith})
        if (op == known)
            return true;
    return false;
}

// The comparison seen from the other side: "5 > x" is "x < 5".
std::optional<OSType> turnedRound(OSType op) {
    switch (op) {
    case kAEEquals:
        return kAEEquals;
    case kAEGreaterThan:
        return kAELessThan;
    case kAELessThan:
        return kAEGreaterThan;
    case kAEGreaterThanEquals:
        return kAELessThanEquals;
    case kAELessThanEquals:
        return kAEGreaterThanEquals;
    default:
        return std::nullopt; // 'cont', 'bgwt' and 'ends' are not symmetric
    }
}

// The property P of prop(P, of 'exmn').
std::optional<OSType> examinedProperty(const AEDesc& desc) {
    if (desc.descriptorType() != typeObjectSpecifier)
        return std::nullopt;
    const AEDesc* form = desc.param(keyAEKeyForm);
    const AEDesc* seld = desc.param(keyAEKeyData);
    const AEDesc* from = desc.param(keyAEContainer);
    if (!form || form->osTypeValue() != formPropertyID || !seld || !from ||
        from->descriptorType() != typeObjectBeingExamined)
        return std::nullopt;
    return seld->osTypeValue();
}

Result<Node> parseNode(const AEDesc& test, std::size_t depth) {
    if (depth > 32)
        return badTest("tests nested too deeply", test);
    Node node;
    if (test.descriptorType() == typeCompDescriptor) {
        const AEDesc* relo = test.param(keyAECompOperator);
        const AEDesc* obj1 = test.param(keyAEObject1);
        const AEDesc* obj2 = test.param(keyAEObject2);
        if (!relo || !obj1 || !obj2 || !relo->osTypeValue() || !isKnownComparison(*relo->osTypeValue()))
            return badTest("an unknown or incomplete comparison", test);
        node.comparison = *relo->osTypeValue();
        if (auto property = examinedProperty(*obj1)) {
            node.property = *property;
            node.value = *obj2;
        } else if (auto other = examinedProperty(*obj2); other && turnedRound(node.comparison)) {
            node.property = *other;
            node.value = *obj1;
            node.comparison = *turnedRound(node.comparison);
        } else {
            return badTest("a comparison that examines no property of the object", test);
        }
        return node;
    }
    if (test.descriptorType() != typeLogicalDescriptor)
        return badTest("neither a comparison nor logic", test);
    const AEDesc* logc = test.param(keyAELogicalOperator);
    const AEDesc* terms = test.param(keyAELogicalTerms);
    if (!logc || !terms || !terms->isList() || terms->count() == 0 || terms->count() > kMaxTerms)
        return badTest("incomplete logic", test);
    switch (logc->osTypeValue().value_or(0)) {
    case kAEAND:
        node.kind = Node::Kind::And;
        break;
    case kAEOR:
        node.kind = Node::Kind::Or;
        break;
    case kAENOT:
        node.kind = Node::Kind::Not;
        if (terms->count() != 1)
            return badTest("'NOT ' with other than one term", test);
        break;
    default:
        return badTest("an unknown logical operator", test);
    }
    for (std::size_t i = 1; i <= terms->count(); ++i) {
        auto term = LUMETTA_TRY(parseNode(*terms->item(i), depth + 1));
        node.terms.push_back(std::move(term));
    }
    return node;
}

template <class T> bool ordered(OSType op, const T& a, const T& b) {
    switch (op) {
    case kAEEquals:
        return a == b;
    case kAEGreaterThan:
        return a > b;
    case kAELessThan:
        return a < b;
    case kAEGreaterThanEquals:
        return a >= b;
    case kAELessThanEquals:
        return a <= b;
    default:
        return false;
    }
}

bool compareText(OSType op, const std::string& text, const std::string& wanted) {
    switch (op) {
    case kAEContains:
        return text.find(wanted) != std::string::npos;
    case kAEBeginsWith:
        return text.starts_with(wanted);
    case kAEEndsWith:
        return text.ends_with(wanted);
    default:
        return ordered(op, text, wanted);
    }
}

bool compare(const Node& node, const PropertyValue& value) {
    switch (value.kind()) {
    case PropertyValue::Kind::Missing:
        return false;
    case PropertyValue::Kind::Text: {
        auto wanted = node.property == pUid ? DescValues::rawText(node.value) : DescValues::text(node.value);
        return wanted && wanted.value() && compareText(node.comparison, value.text(), *wanted.value());
    }
    case PropertyValue::Kind::Date: {
        const auto wanted = node.value.dateValue();
        return wanted && ordered(node.comparison, value.date(), *wanted);
    }
    case PropertyValue::Kind::Integer: {
        const auto wanted = node.value.int32Value();
        return wanted && ordered(node.comparison, value.integer(), *wanted);
    }
    case PropertyValue::Kind::Enumeration:
    case PropertyValue::Kind::TypeCode:
        return node.comparison == kAEEquals && node.value.osTypeValue() == value.code();
    }
    return false;
}

Result<bool> evaluate(const Node& node, const ObjectRef& object, const PropertyReader& reader) {
    switch (node.kind) {
    case Node::Kind::Compare: {
        auto value = LUMETTA_TRY(reader.value(object, node.property));
        return compare(node, value);
    }
    case Node::Kind::Not: {
        auto inner = evaluate(node.terms.front(), object, reader);
        if (!inner)
            return inner;
        return !inner.value();
    }
    case Node::Kind::And:
    case Node::Kind::Or: {
        const bool all = node.kind == Node::Kind::And;
        for (const Node& term : node.terms) {
            auto result = evaluate(term, object, reader);
            if (!result)
                return result;
            if (result.value() != all)
                return !all;
        }
        return all;
    }
    }
    return false;
}

// The first comparison on `property` that the whole test depends on: the test itself or
// a term of an 'AND ' (recursively).
const Node* requiredComparison(const Node& node, OSType property, std::initializer_list<OSType> ops) {
    if (node.kind == Node::Kind::Compare)
        return node.property == property && std::find(ops.begin(), ops.end(), node.comparison) != ops.end()
                   ? &node
                   : nullptr;
    if (node.kind != Node::Kind::And)
        return nullptr;
    for (const Node& term : node.terms)
        if (const Node* found = requiredComparison(term, property, ops))
            return found;
    return nullptr;
}

} // namespace

Result<TestClause> TestClause::parse(const AEDesc& test) {
    auto root = LUMETTA_TRY(parseNode(test, 0));
    return TestClause(std::move(root));
}

Result<bool> TestClause::matches(const ObjectRef& object, const PropertyReader& reader) const {
    return evaluate(root_, object, reader);
}

std::optional<platform::Date> TestClause::stampLaterThan() const {
    const Node* node = requiredComparison(root_, pStamp, {kAEGreaterThan, kAEGreaterThanEquals});
    if (node == nullptr)
        return std::nullopt;
    const auto date = node->value.dateValue();
    if (!date)
        return std::nullopt;
    // "Later than or at" a date: anything later than just before it.
    return node->comparison == kAEGreaterThan ? *date : date->addingSeconds(-1.0);
}

std::optional<std::string> TestClause::uidEquals() const {
    const Node* node = requiredComparison(root_, pUid, {kAEEquals});
    if (node == nullptr)
        return std::nullopt;
    auto uid = DescValues::rawText(node->value);
    return uid && uid.value() ? uid.value() : std::nullopt;
}

} // namespace calendarapp
