#include "mailhost/criteria/TextMatch.h"

#include "mailhost/criteria/MessageCriterion.h"
#include "platform/foundation/Text.h"

namespace mailhost {

TextMatch::TextMatch(int qualifier, std::string_view expression)
    : qualifier_(qualifier), folded_(platform::text::fold(expression, true, true)) {}

bool TextMatch::isTextQualifier(int qualifier) {
    return qualifier >= MessageCriterion::kContains && qualifier <= MessageCriterion::kDoesNotContain;
}

bool TextMatch::holds(const std::vector<std::string>& candidates) const {
    if (!isTextQualifier(qualifier_))
        return false;
    bool any = false;
    for (const std::string& candidate : candidates)
        if ((any = test(platform::text::fold(candidate, true, true))))
            break;
    return qualifier_ == MessageCriterion::kDoesNotContain ? !any : any;
}

bool TextMatch::test(std::string_view folded) const {
    switch (qualifier_) {
    case MessageCriterion::kBeginsWith:
        return folded.starts_with(folded_);
    case MessageCriterion::kEndsWith:
        return folded.ends_with(folded_);
    case MessageCriterion::kIsEqualTo:
        return folded == folded_;
    default: // contains, and its negation
        return folded.find(folded_) != std::string_view::npos;
    }
}

} // namespace mailhost
