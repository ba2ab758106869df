#pragma once

#include "mailhost/rules/MFError.h"
#include "platform/runtime/Object.h"

#include <memory>

namespace lumetta {

// Whether a rule may be saved, in place of the host's own check: the host's checks, in
// the host's order and words, except that a rule need not have an action of the host's
// own, so that a rule whose actions are all tag actions is accepted.
class MessageRuleValidationCategory {
public:
    using Object = platform::runtime::Object;
    using Sel = platform::runtime::Sel;

    // Replaces the host's "isValid:" on "MessageRule".
    static void load();

    // On a failed check, `error` receives the host's error (domain "MFMessageErrorDomain",
    // code 1030, the text, the title "Error" and the help tag when there is one); it is left
    // alone otherwise. The host's implementation is never called.
    static bool lumetta_isValid(Object* self, Sel, std::shared_ptr<mailhost::MFError>* error);
};

} // namespace lumetta
