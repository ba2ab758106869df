#pragma once

#include "mailhost/criteria/MessageCriterion.h"
#include "mailhost/mail/Message.h"
#include "platform/runtime/Class.h"

#include <string>

namespace lumetta {

// The tag criteria on the host's MessageCriterion: their types both ways, their
// evaluation, and the body test. Whatever it does not recognise goes to the host's
// own implementation unchanged.
class MessageCriterionCategory {
public:
    using Class = platform::runtime::Class;
    using Object = platform::runtime::Object;
    using Sel = platform::runtime::Sel;

    // Adds the evaluators to "MessageCriterion" and replaces its four host methods.
    static void load();

    static int lumettaCriterionTypeForString(Class*, Sel, std::string identifier);
    static std::string lumettaStringForCriterionType(Class*, Sel, int type);
    static bool lumetta_DoesMessageSatisfyCriterion(Object* self, Sel, mailhost::Message* message);
    static bool lumettaContainsBodyCriterion(Object* self, Sel);

    // The evaluators, by selector on the criterion ("_lumettaEvaluateKeyWordCriterion:", ...).
    static bool evaluateAnnotation(Object* self, Sel, mailhost::Message* message);
    static bool evaluateDueDate(Object* self, Sel, mailhost::Message* message);
    static bool evaluateProject(Object* self, Sel, mailhost::Message* message);
    static bool evaluatePriority(Object* self, Sel, mailhost::Message* message);
    static bool evaluateKeyWord(Object* self, Sel, mailhost::Message* message);
    static bool evaluateToDoLink(Object* self, Sel, mailhost::Message* message);
    static bool evaluateToDoCompleted(Object* self, Sel, mailhost::Message* message);
    // Never reached from the dispatch; kept so that the selector answers.
    static bool evaluateToDoComplete(Object*, Sel, mailhost::Message*) { return false; }
};

} // namespace lumetta
