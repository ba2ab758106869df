#include "lumetta/criteria/TagCriterionEvaluation.h"

#include "lumetta/store/MessageTags.h"
#include "lumetta/store/TagKeys.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Text.h"
#include "platform/foundation/Value.h"

#include <cstdint>

namespace lumetta {

using mailhost::MessageCriterion;
using platform::Array;
using platform::Value;

namespace {

constexpr std::string_view kNone = "None";
constexpr double kSecondsPerDay = 86400.0;

std::string expressionOf(const MessageCriterion& criterion) {
    return criterion.expression().value_or(std::string());
}

// The list tests shared by keywords and projects. `values` is absent (null) or the
// list; the asymmetry of "None" is deliberate: "is None" holds for no list and for an
// empty one, "is not None" only for a list, even an empty one.
bool listTest(const MessageCriterion& criterion, const Value& values) {
    const std::string expression = expressionOf(criterion);
    const Array* list = values.array();
    const bool present = !values.isNull();
    const bool holds = list && list->contains(Value(expression));
    switch (criterion.qualifier()) {
    case MessageCriterion::kIsEqualTo:
        if (expression == kNone)
            return !present || !list || list->empty();
        return present && holds;
    case MessageCriterion::kDoesNotContain:
        if (expression == kNone)
            return present;
        return !present || !holds;
    default:
        return false;
    }
}

// A saved extra-data key is "present" when the message's record has a value for it.
bool recordHas(mailhost::Message& message, const char* key) {
    auto record = MessageTags::lumettaExtraData(message);
    return record && record->contains(key);
}

} // namespace

bool TagCriterionEvaluation::keyWord(const Criterion& criterion, Message& message) {
    return listTest(criterion, MessageTags::lumettaKeyWords(message));
}

bool TagCriterionEvaluation::project(const Criterion& criterion, Message& message) {
    Value project = MessageTags::lumettaProject(message);
    // A project set as one title counts as a list of one.
    if (project.isString())
        project = Array{project};
    return listTest(criterion, project);
}

bool TagCriterionEvaluation::priority(const Criterion& criterion, Message& message) {
    const std::int64_t wanted = Value(expressionOf(criterion)).intValue();
    const std::int64_t priority = MessageTags::lumettaPriority(message).intValue();
    switch (criterion.qualifier()) {
    case MessageCriterion::kIsEqualTo:
        return priority == wanted;
    case MessageCriterion::kIsGreaterThan:
        return priority > wanted;
    case MessageCriterion::kIsLessThan:
        return priority < wanted;
    default:
        return false;
    }
}

bool TagCriterionEvaluation::dueDate(const Criterion& criterion, Message& message) {
    const std::string expression = expressionOf(criterion);
    const bool hasDueDate = MessageTags::lumettaDueDateState(message);
    // Seconds from now to the due date; a due date switched on without a date is due now.
    double t = 0;
    const Value dueValue = MessageTags::lumettaDueDate(message);
    if (const platform::Date* due = dueValue.date())
        t = due->seconds - platform::Clock::now().seconds;
    // Days become seconds in 32-bit arithmetic, wrapping as the saved rules always have.
    const auto days = static_cast<std::uint32_t>(Value(expression).intValue());
    const double d = static_cast<double>(static_cast<std::int32_t>(days * 86400u));
    switch (criterion.qualifier()) {
    case MessageCriterion::kIsEqualTo:
        if (expression == "PastDue")
            return hasDueDate && t < 0;
        if (expression == kNone)
            return !hasDueDate;
        if (expression == "Anything")
            return hasDueDate;
        // "Due within N days" reaches one day back, so that what fell due today
        // still shows.
        return hasDueDate && t > -kSecondsPerDay && t < d;
    case MessageCriterion::kIsGreaterThan:
        return hasDueDate && t > d;
    case MessageCriterion::kIsLessThan:
        return hasDueDate && t < d;
    default:
        return false;
    }
}

bool TagCriterionEvaluation::annotation(const Criterion& criterion, Message& message) {
    const std::string expression = expressionOf(criterion);
    const Value note = MessageTags::lumettaAnnotation(message);
    return !expression.empty() && note.isString() &&
           platform::text::containsCaseInsensitive(*note.string(), expression);
}

bool TagCriterionEvaluation::toDoLink(const Criterion& criterion, Message& message) {
    const bool linked = recordHas(message, TagKeys::kICalUID);
    return expressionOf(criterion) == "YES" ? linked : !linked;
}

bool TagCriterionEvaluation::toDoCompleted(const Criterion& criterion, Message& message) {
    const bool completed = recordHas(message, TagKeys::kICalCompletionDate);
    return expressionOf(criterion) == "YES" ? completed : !completed;
}

} // namespace lumetta
