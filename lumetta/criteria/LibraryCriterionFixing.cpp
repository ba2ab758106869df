#include "lumetta/criteria/LibraryCriterionFixing.h"

#include "lumetta/core/DebugLogging.h"
#include "lumetta/core/MethodReplacement.h"
#include "lumetta/criteria/MatadorQueryTemplates.h"
#include "lumetta/criteria/TagCriterionTypes.h"
#include "mailhost/mail/Library.h"
#include "platform/runtime/Runtime.h"

namespace lumetta {

using mailhost::MessageCriterion;
using mailhost::MessageRuleCriterion;
namespace types = TagCriterionTypes;

namespace {

using FixImp = LibraryCriterionFixing::CriterionRef (*)(platform::runtime::Class*, Sel,
                                                        LibraryCriterionFixing::CriterionRef);
FixImp savedFix = nullptr;

bool isBodyOrTag(int type) {
    return type == MessageCriterion::kBodyType || type > types::kFirst - 1;
}

void markAsQuery(MessageCriterion& criterion, std::optional<std::string> query) {
    criterion.setExpression(std::move(query));
    criterion.setCriterionIdentifier(MessageCriterion::kMetadataQueryIdentifier);
}

// Debug traces show criteria in their saved form.
platform::Value described(const MessageCriterion& criterion) {
    return platform::Value(criterion.dictionaryRepresentation());
}

} // namespace

void LibraryCriterionFixing::load() {
    platform::runtime::Class* cls = platform::runtime::Runtime::classNamed(mailhost::Library::kClassName);
    if (!cls)
        return;
    cls->addClassMethod("lumettaFixCriterion:", &lumettaFixCriterion);
    cls->addClassMethod("lumettaFixSingleMatadorQuery:", &lumettaFixSingleMatadorQuery);
    cls->addClassMethod("lumettaFixCompoundMatadorQuery:", &lumettaFixCompoundMatadorQuery);
    savedFix = replaceClassMethod<FixImp>("fixCriterion:", mailhost::Library::kClassName,
                                          "lumettaFixCriterion:", mailhost::Library::kClassName);
}

LibraryCriterionFixing::CriterionRef LibraryCriterionFixing::lumettaFixCriterion(Class* cls, Sel selector,
                                                                                 CriterionRef criterion) {
    CriterionRef fixed = savedFix ? savedFix(cls, selector, std::move(criterion)) : std::move(criterion);
    if (!fixed)
        return fixed;
    const int type = fixed->criterionType();
    if (type != MessageCriterion::kCompoundType && type != MessageCriterion::kBodyType && type < 4000)
        return fixed;
    if (type == MessageCriterion::kCompoundType) {
        CriterionRef copy = MessageCriterion::create();
        if (!copy)
            return fixed;
        copy->setCriterionType(type);
        copy->setAllCriteriaMustBeSatisfied(fixed->allCriteriaMustBeSatisfied());
        for (const auto& sub : fixed->criteria())
            if (sub)
                if (auto part = MessageRuleCriterion::withDictionary(sub->dictionaryRepresentation()))
                    copy->criteria().push_back(std::move(part));
        lumettaFixCompoundMatadorQuery(cls, {}, copy);
        return copy;
    }
    lumettaFixSingleMatadorQuery(cls, {}, fixed);
    return fixed;
}

void LibraryCriterionFixing::lumettaFixSingleMatadorQuery(Class*, Sel, CriterionRef criterion) {
    if (!criterion)
        return;
    const MatadorQueryTemplates::Query query = MatadorQueryTemplates::single(*criterion);
    if (query.applies)
        markAsQuery(*criterion, query.text);
}

void LibraryCriterionFixing::lumettaFixCompoundMatadorQuery(Class* cls, Sel, CriterionRef compound) {
    if (!compound)
        return;
    auto& parts = compound->criteria();
    const char* joiner = compound->allCriteriaMustBeSatisfied() ? "&&" : "||";
    bool examineAll = false;
    for (std::size_t i = parts.size(); i-- > 0;)
        if (parts[i] && isBodyOrTag(parts[i]->criterionType()))
            examineAll = true;
    // Backwards, so that the last translatable part holds the query and removing a
    // part never moves one still to come; the query therefore reads in reverse order.
    CriterionRef holder;
    for (std::size_t i = parts.size(); i-- > 0;) {
        CriterionRef part = parts[i];
        if (!part)
            continue;
        const int type = part->criterionType();
        if (type != MessageCriterion::kCompoundType && type != MessageCriterion::kBodyType &&
            type < types::kFirst && !examineAll)
            continue;
        if (part->criterionIdentifier() == MessageCriterion::kCompoundIdentifier)
            lumettaFixCompoundMatadorQuery(cls, {}, part);
        const MatadorQueryTemplates::Query query = MatadorQueryTemplates::compound(*part);
        if (!query.applies)
            continue;
        const bool isNote = part->criterionIdentifier() == types::kShortAnnotationIdentifier ||
                            part->criterionIdentifier() == types::kAnnotationIdentifier;
        if (!holder) {
            markAsQuery(*part, query.text);
            holder = part;
            examineAll = true;
        } else {
            const platform::Value held =
                holder->expression() ? platform::Value(*holder->expression()) : platform::Value();
            const platform::Value q = query.text ? platform::Value(*query.text) : platform::Value();
            holder->setExpression(platform::format("%@ %@ %@", {held, joiner, q}));
            parts.erase(parts.begin() + static_cast<std::ptrdiff_t>(i));
        }
        if (isNote && debugLoggingLevel() > 1) {
            if (holder)
                debugLog(1, "Fixed SpotLight Query:\n Old Criteria: %@\n Spotlight Query:%@",
                         {described(*compound), described(*holder)});
            // A trace line from long ago, kept as people know it.
            debugLog(1, "[NSString stringWithFormat:@'thisCrit patch%@ ']", {joiner});
        }
    }
}

} // namespace lumetta
