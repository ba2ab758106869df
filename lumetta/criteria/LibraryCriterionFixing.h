#pragma once

#include "mailhost/criteria/MessageCriterion.h"
#include "platform/runtime/Class.h"

#include <memory>

namespace lumetta {

// Tag criteria answered by the metadata index: when the host prepares a smart
// mailbox's criteria for its index query (`fixCriterion:` on Library), tag criteria
// become metadata query text over the attributes the tag mirror writes, and the host's
// body search also searches the note.
class LibraryCriterionFixing {
public:
    using Class = platform::runtime::Class;
    using Sel = platform::runtime::Sel;
    using CriterionRef = std::shared_ptr<mailhost::MessageCriterion>;

    // Adds the class methods to "Library" and replaces the host's `fixCriterion:`.
    static void load();

    // The criterion to query with. A compound comes back as a new criterion made of
    // copies of its parts, so the smart mailbox's own criterion is never altered.
    static CriterionRef lumettaFixCriterion(Class* cls, Sel selector, CriterionRef criterion);
    // Translates one criterion in place (nothing for none).
    static void lumettaFixSingleMatadorQuery(Class*, Sel, CriterionRef criterion);
    // Merges every translatable part of a compound into one part holding the whole
    // query, removing the others; untranslatable host parts stay beside it.
    static void lumettaFixCompoundMatadorQuery(Class*, Sel, CriterionRef compound);
};

} // namespace lumetta
