#include "mailhost/criteria/CriterionFixing.h"

#include "mailhost/criteria/HostCriteria.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"

namespace mailhost {

using platform::runtime::Runtime;
using FixSeam =
    platform::runtime::Seam<std::shared_ptr<MessageCriterion>(Class*, std::shared_ptr<MessageCriterion>)>;

namespace {

struct Seams {
    Class* cls = nullptr;
    FixSeam* fix = nullptr;
};

Seams& seams() {
    static Seams s;
    return s;
}

bool isBodySearch(const MessageCriterion& c) {
    return c.criterionType() == MessageCriterion::kBodyType &&
           c.criterionIdentifier() != MessageCriterion::kMetadataQueryIdentifier;
}

// Translates the body searches of a criterion the caller owns, at any depth.
void translateBodies(MessageCriterion& c) {
    if (isBodySearch(c)) {
        c.setCriterionIdentifier(MessageCriterion::kMetadataQueryIdentifier);
        c.setExpression(CriterionFixing::bodyQuery(c.expression().value_or("")));
    }
    for (const auto& sub : c.criteria())
        if (sub)
            translateBodies(*sub);
}

} // namespace

void CriterionFixing::registerClass() {
    Seams& s = seams();
    if (s.cls)
        return;
    s.cls = &Runtime::defineClass("Library");
    s.fix = new FixSeam(*s.cls, kSelector, &hostFixCriterion, FixSeam::Kind::ClassMethod);
}

std::shared_ptr<MessageCriterion> CriterionFixing::fixCriterion(std::shared_ptr<MessageCriterion> criterion) {
    registerClass();
    return (*seams().fix)(seams().cls, std::move(criterion));
}

std::shared_ptr<MessageCriterion>
CriterionFixing::hostFixCriterion(Class*, Sel, std::shared_ptr<MessageCriterion> criterion) {
    if (!criterion)
        return criterion;
    const bool compound = criterion->criterionType() == MessageCriterion::kCompoundType;
    if (!compound && !isBodySearch(*criterion))
        return criterion;
    // Copies through the saved form, as an editor would make them: the stored criterion
    // belongs to its mailbox and must read the same next time.
    auto copy = compound ? MessageCriterion::withDictionary(criterion->dictionaryRepresentation())
                         : MessageRuleCriterion::withDictionary(criterion->dictionaryRepresentation());
    if (!copy)
        return criterion;
    translateBodies(*copy);
    return copy;
}

std::string CriterionFixing::bodyQuery(std::string_view words) {
    std::string value;
    for (const char c : HostCriteria::literalPattern(words)) {
        if (c == '"')
            value += '\\';
        value += c;
    }
    return "kMDItemTextContent = \"" + value + "\"cd";
}

} // namespace mailhost
