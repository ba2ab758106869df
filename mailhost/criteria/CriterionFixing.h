#pragma once

#include "mailhost/criteria/MessageCriterion.h"

#include <memory>
#include <string>
#include <string_view>

namespace mailhost {

// `+[Library fixCriterion:]`: the step between a stored criterion and the search that
// answers it. Before a smart mailbox is listed, its criterion goes through this seam and
// comes back in the form to search with: criteria whose identifier is "MatadorBody" carry
// a metadata query as their expression and are answered by the library's metadata index;
// the rest are evaluated message by message. A bundle may replace the method to turn its
// own criteria into queries too.
//
// The host's implementation turns a body search (type 34, "Body", "contains" WORDS) into
//     identifier "MatadorBody", expression  kMDItemTextContent = "WORDS"cd
// (the words' quotes, backslashes and wildcards escaped so they stay literal) and leaves
// every other criterion as it is. A compound comes back as a copy, its parts copied too,
// so the mailbox's stored criterion never changes; a translated single criterion is a
// copy as well. Nothing (nullptr) comes back as nothing.
class CriterionFixing {
public:
    static constexpr const char* kSelector = "fixCriterion:";

    // Adds the class method to the host class "Library":
    //   fixCriterion:   std::shared_ptr<MessageCriterion>(Class*, Sel, std::shared_ptr<MessageCriterion>)
    static void registerClass();

    // Calls `+[Library fixCriterion:]` through its seam.
    static std::shared_ptr<MessageCriterion> fixCriterion(std::shared_ptr<MessageCriterion> criterion);

    // The host's implementation.
    static std::shared_ptr<MessageCriterion> hostFixCriterion(Class*, Sel,
                                                              std::shared_ptr<MessageCriterion> criterion);

    // The metadata query of a body search for `words`.
    static std::string bodyQuery(std::string_view words);
};

} // namespace mailhost
