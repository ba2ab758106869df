#include "platform/spotlight/query/ValuePattern.h"

namespace platform::spotlight {

ValuePattern::ValuePattern(std::string_view source) : source_(source) {
    bool onlyStars = !source.empty();
    bool onlyStarsAfterHead = true;
    // Where the infix's text begins and ends in literal_, and whether a wildcard other than
    // the leading and trailing stars was seen.
    std::size_t leadingStars = 0, trailingStars = 0;
    bool wildcardInside = false;
    for (std::size_t i = 0; i < source.size(); ++i) {
        char c = source[i];
        const bool escaped = c == '\\' && i + 1 < source.size() &&
                             (source[i + 1] == '*' || source[i + 1] == '?' || source[i + 1] == '\\');
        if (escaped)
            c = source[++i];
        const bool wildcard = !escaped && (c == '*' || c == '?');
        onlyStars = onlyStars && !escaped && c == '*';
        if (hasWildcards_ || wildcard)
            onlyStarsAfterHead = onlyStarsAfterHead && !escaped && c == '*';
        if (wildcard && c == '*' && leadingStars == literal_.size())
            ++leadingStars;
        else if (wildcard && c == '*')
            ++trailingStars;
        else if (wildcard || trailingStars > 0)
            wildcardInside = true;
        if (wildcard)
            hasWildcards_ = true;
        else if (!hasWildcards_)
            head_ += c;
        literal_ += c;
    }
    matchesEverything_ = onlyStars;
    if (leadingStars > 0 && trailingStars > 0 && !wildcardInside &&
        literal_.size() > leadingStars + trailingStars)
        infix_ = literal_.substr(leadingStars, literal_.size() - leadingStars - trailingStars);
    isPrefix_ = hasWildcards_ && onlyStarsAfterHead && !head_.empty();
}

} // namespace platform::spotlight
