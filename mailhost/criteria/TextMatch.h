#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mailhost {

// A text qualifier (contains, begins with, ends with, is equal to, does not contain)
// applied to the strings a message offers for one criterion, ignoring case and accents.
// The expression is folded once; each candidate is folded as it is tested.
class TextMatch {
public:
    TextMatch(int qualifier, std::string_view expression);

    // Whether the qualifier holds for the candidates: for any one of them, or for
    // "does not contain", for none. No candidates (the message lacks the field) satisfy
    // only "does not contain". A qualifier that is not a text qualifier holds for nothing.
    bool holds(const std::vector<std::string>& candidates) const;

    // Whether the qualifier is one of the five text qualifiers.
    static bool isTextQualifier(int qualifier);

private:
    bool test(std::string_view folded) const;

    int qualifier_;
    std::string folded_;
};

} // namespace mailhost
