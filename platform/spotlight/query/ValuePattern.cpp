#include "platform/spotlight/query/ValuePattern.h"

namespace platform::spotlight {

ValuePattern::ValuePattern(std::string_view source) : source_(source) {
    bool onlyStars = !source.empty();
    bool onlyStarsAfterHead = true;
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
        if (wildcard)
            hasWildcards_ = true;
        else if (!hasWildcards_)
            head_ += c;
        literal_ += c;
    }
    matchesEverything_ = onlyStars;
    isPrefix_ = hasWildcards_ && onlyStarsAfterHead && !head_.empty();
}

} // namespace platform::spotlight
