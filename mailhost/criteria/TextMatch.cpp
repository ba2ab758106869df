#include "mailhost/criteria/TextMatch.h"

#include "mailhost/criteria/MessageCriterion.h"
#include "platform/foundation/Text.h"

namespace mailhost {

bool TextMatch::isTextQualifier(int qualifier) {
    return qualifier >= MessageCriterion::kContains && qualifier <= MessageCriterion::kDoesNotContain;
}

namespace {

// ASCII text folds to its lower case: it has no other case forms and no accents. Most
// header text is ASCII, and this spares it the Unicode machinery.
std::string folded(std::string_view s) {
    for (const char c : s)
        if (static_cast<unsigned char>(c) >= 0x80)
            return platform::text::fold(s, true, true);
    std::string out(s);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c + ('a' - 'A'));
    return out;
}

} // namespace

TextMatch::TextMatch(int qualifier, std::string_view expression)
    : qualifier_(qualifier), folded_(folded(expression)) {}

bool TextMatch::holds(const std::vector<std::string>& candidates) const {
    if (!isTextQualifier(qualifier_))
        return false;
    bool any = false;
    for (const std::string& candidate : candidates)
        if ((any = test(folded(candidate))))
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
