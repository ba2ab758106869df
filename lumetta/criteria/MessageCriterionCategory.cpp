#include "lumetta/criteria/MessageCriterionCategory.h"

#include "lumetta/core/MethodReplacement.h"
#include "lumetta/criteria/TagCriterionEvaluation.h"
#include "lumetta/criteria/TagCriterionTypes.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Send.h"

#include <array>
#include <utility>

namespace lumetta {

using mailhost::Message;
using mailhost::MessageCriterion;
namespace types = TagCriterionTypes;

namespace {

using TypeForStringImp = int (*)(platform::runtime::Class*, Sel, std::string);
using StringForTypeImp = std::string (*)(platform::runtime::Class*, Sel, int);
using SatisfiesImp = bool (*)(platform::runtime::Object*, Sel, Message*);
using ContainsBodyImp = bool (*)(platform::runtime::Object*, Sel);

TypeForStringImp savedTypeForString = nullptr;
StringForTypeImp savedStringForType = nullptr;
SatisfiesImp savedSatisfies = nullptr;
ContainsBodyImp savedContainsBody = nullptr;

// Identifiers accepted when reading, in the order they are tried.
const std::array<std::pair<std::string_view, int>, 10> kAccepted = {{
    {types::kShortAnnotationIdentifier, types::kAnnotation},
    {types::kAnnotationIdentifier, types::kAnnotation},
    {types::kShortDueDateIdentifier, types::kDueDate},
    {types::kDueDateIdentifier, types::kDueDate},
    {types::kShortProjectIdentifier, types::kProject},
    {types::kProjectIdentifier, types::kProject},
    {types::kPriorityIdentifier, types::kPriority},
    {types::kKeyWordIdentifier, types::kKeyWord},
    {types::kToDoLinkIdentifier, types::kToDoLink},
    {types::kToDoCompletedIdentifier, types::kToDoCompleted},
}};

// Identifiers that make a criterion a body criterion: the host must load what the
// tags are read from before it evaluates them.
const std::array<std::string_view, 10> kBodyIdentifiers = {
    types::kDueDateIdentifier,      types::kProjectIdentifier,         types::kAnnotationIdentifier,
    types::kPriorityIdentifier,     types::kKeyWordIdentifier,         types::kShortDueDateIdentifier,
    types::kShortProjectIdentifier, types::kShortAnnotationIdentifier, types::kToDoLinkIdentifier,
    types::kToDoCompletedIdentifier};

struct Evaluator {
    int type;
    const char* selector;
};
// The dispatch from type to evaluator; the editor's negative forms are aliases.
constexpr Evaluator kEvaluators[] = {
    {types::kAnnotation, "_lumettaEvaluateAnnotationCriterion:"},
    {types::kDueDate, "_lumettaEvaluateDueDateCriterion:"},
    {types::kProject, "_lumettaEvaluateProjectCriterion:"},
    {types::kPriority, "_lumettaEvaluatePriorityCriterion:"},
    {types::kKeyWord, "_lumettaEvaluateKeyWordCriterion:"},
    {types::kToDoLink, "_lumettaEvaluateToDoLinkCriterion:"},
    {types::kNoToDoLink, "_lumettaEvaluateToDoLinkCriterion:"},
    {types::kToDoCompleted, "_lumettaEvaluateToDoCompletedCriterion:"},
    {types::kToDoNotCompleted, "_lumettaEvaluateToDoCompletedCriterion:"},
};

MessageCriterion* asCriterion(platform::runtime::Object* self) {
    return dynamic_cast<MessageCriterion*>(self);
}

template <bool (*Test)(const MessageCriterion&, Message&)>
bool evaluate(platform::runtime::Object* self, Message* message) {
    MessageCriterion* criterion = asCriterion(self);
    return criterion && message && Test(*criterion, *message);
}

} // namespace

void MessageCriterionCategory::load() {
    platform::runtime::Class* cls = platform::runtime::Runtime::classNamed(MessageCriterion::kClassName);
    if (!cls)
        return;
    cls->addInstanceMethod("_lumettaEvaluateAnnotationCriterion:", &evaluateAnnotation);
    cls->addInstanceMethod("_lumettaEvaluateDueDateCriterion:", &evaluateDueDate);
    cls->addInstanceMethod("_lumettaEvaluateProjectCriterion:", &evaluateProject);
    cls->addInstanceMethod("_lumettaEvaluatePriorityCriterion:", &evaluatePriority);
    cls->addInstanceMethod("_lumettaEvaluateKeyWordCriterion:", &evaluateKeyWord);
    cls->addInstanceMethod("_lumettaEvaluateToDoLinkCriterion:", &evaluateToDoLink);
    cls->addInstanceMethod("_lumettaEvaluateToDoCompletedCriterion:", &evaluateToDoCompleted);
    cls->addInstanceMethod("_lumettaEvaluateToDoCompleteCriterion:", &evaluateToDoComplete);
    cls->addClassMethod("lumettaCriterionTypeForString:", &lumettaCriterionTypeForString);
    cls->addClassMethod("lumettaStringForCriterionType:", &lumettaStringForCriterionType);
    cls->addInstanceMethod("lumetta_DoesMessageSatisfyCriterion:", &lumetta_DoesMessageSatisfyCriterion);
    cls->addInstanceMethod("lumettaContainsBodyCriterion", &lumettaContainsBodyCriterion);
    const char* name = MessageCriterion::kClassName;
    savedTypeForString = replaceClassMethod<TypeForStringImp>("criterionTypeForString:", name,
                                                              "lumettaCriterionTypeForString:", name);
    savedStringForType = replaceClassMethod<StringForTypeImp>("stringForCriterionType:", name,
                                                              "lumettaStringForCriterionType:", name);
    savedSatisfies = replaceInstanceMethod<SatisfiesImp>("doesMessageSatisfyCriterion:", name,
                                                         "lumetta_DoesMessageSatisfyCriterion:", name);
    savedContainsBody = replaceInstanceMethod<ContainsBodyImp>("containsBodyCriterion", name,
                                                               "lumettaContainsBodyCriterion", name);
}

int MessageCriterionCategory::lumettaCriterionTypeForString(Class* cls, Sel selector,
                                                            std::string identifier) {
    for (const auto& [accepted, type] : kAccepted)
        if (identifier == accepted)
            return type;
    return savedTypeForString ? savedTypeForString(cls, selector, std::move(identifier)) : 0;
}

std::string MessageCriterionCategory::lumettaStringForCriterionType(Class* cls, Sel selector, int type) {
    switch (type) {
    case types::kAnnotation:
        return std::string(types::kAnnotationIdentifier);
    case types::kDueDate:
        return std::string(types::kDueDateIdentifier);
    case types::kProject:
        return std::string(types::kProjectIdentifier);
    case types::kPriority:
        return std::string(types::kPriorityIdentifier);
    case types::kKeyWord:
        return std::string(types::kKeyWordIdentifier);
    case types::kToDoLink:
    case types::kNoToDoLink:
        return std::string(types::kToDoLinkIdentifier);
    case types::kToDoCompleted:
    case types::kToDoNotCompleted:
        return std::string(types::kToDoCompletedIdentifier);
    default:
        return savedStringForType ? savedStringForType(cls, selector, type) : std::string();
    }
}

bool MessageCriterionCategory::lumetta_DoesMessageSatisfyCriterion(Object* self, Sel selector,
                                                                   Message* message) {
    MessageCriterion* criterion = asCriterion(self);
    if (criterion && types::isTagType(criterion->criterionType())) {
        for (const Evaluator& e : kEvaluators)
            if (e.type == criterion->criterionType())
                return platform::runtime::send<bool>(self, e.selector, message).value_or(false);
    }
    return savedSatisfies ? savedSatisfies(self, selector, message) : false;
}

bool MessageCriterionCategory::lumettaContainsBodyCriterion(Object* self, Sel selector) {
    const bool host = savedContainsBody ? savedContainsBody(self, selector) : false;
    MessageCriterion* criterion = asCriterion(self);
    if (!criterion)
        return host;
    const std::string& identifier = criterion->criterionIdentifier();
    for (std::string_view body : kBodyIdentifiers)
        if (identifier == body)
            return true;
    if (identifier == MessageCriterion::kCompoundIdentifier) {
        // The parts decide for a compound; the host's own answer does not count.
        for (const auto& sub : criterion->criteria())
            if (sub &&
                platform::runtime::send<bool>(static_cast<Object*>(sub.get()), "lumettaContainsBodyCriterion")
                    .value_or(false))
                return true;
        return false;
    }
    return host;
}

bool MessageCriterionCategory::evaluateAnnotation(Object* self, Sel, Message* message) {
    return evaluate<&TagCriterionEvaluation::annotation>(self, message);
}
bool MessageCriterionCategory::evaluateDueDate(Object* self, Sel, Message* message) {
    return evaluate<&TagCriterionEvaluation::dueDate>(self, message);
}
bool MessageCriterionCategory::evaluateProject(Object* self, Sel, Message* message) {
    return evaluate<&TagCriterionEvaluation::project>(self, message);
}
bool MessageCriterionCategory::evaluatePriority(Object* self, Sel, Message* message) {
    return evaluate<&TagCriterionEvaluation::priority>(self, message);
}
bool MessageCriterionCategory::evaluateKeyWord(Object* self, Sel, Message* message) {
    return evaluate<&TagCriterionEvaluation::keyWord>(self, message);
}
bool MessageCriterionCategory::evaluateToDoLink(Object* self, Sel, Message* message) {
    return evaluate<&TagCriterionEvaluation::toDoLink>(self, message);
}
bool MessageCriterionCategory::evaluateToDoCompleted(Object* self, Sel, Message* message) {
    return evaluate<&TagCriterionEvaluation::toDoCompleted>(self, message);
}

} // namespace lumetta
