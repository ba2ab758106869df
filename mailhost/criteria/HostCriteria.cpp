#include "mailhost/criteria/HostCriteria.h"

#include "mailhost/criteria/MessageCriterion.h"

namespace mailhost {

// The host's own criteria arrive with smart mailboxes; until then only compounds and
// the body search are known.
int HostCriteria::typeForIdentifier(const std::string& identifier) {
    if (identifier == MessageCriterion::kCompoundIdentifier)
        return MessageCriterion::kCompoundType;
    if (identifier == MessageCriterion::kMetadataQueryIdentifier)
        return MessageCriterion::kBodyType;
    return 0;
}

std::string HostCriteria::identifierForType(int type) {
    if (type == MessageCriterion::kCompoundType)
        return MessageCriterion::kCompoundIdentifier;
    if (type == MessageCriterion::kBodyType)
        return MessageCriterion::kMetadataQueryIdentifier;
    return {};
}

bool HostCriteria::evaluate(const MessageCriterion&, Message*) {
    return false;
}

bool HostCriteria::needsBody(const MessageCriterion& criterion) {
    return criterion.criterionType() == MessageCriterion::kBodyType;
}

bool HostCriteria::isValid(const MessageCriterion& criterion, std::string* why) {
    if (criterion.criterionType() != 0)
        return true;
    if (why)
        *why = "unknown criterion \"" + criterion.criterionIdentifier() + "\"";
    return false;
}

} // namespace mailhost
