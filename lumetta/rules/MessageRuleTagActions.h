#pragma once

#include "mailhost/mail/Library.h"
#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Object.h"

#include <optional>
#include <string>
#include <vector>

namespace lumetta {

// The tag actions of the host's mail rules ("MessageRule"): where a rule keeps them (its
// extra dictionary "_otherInfo", reached by name), how they are read and changed, and
// how they run when the host applies the rule, before the host's own actions.
//
// The extra dictionary is only ever replaced, never edited in place: the host saves the
// dictionary it holds, and a rule being edited must not change under a run.
class MessageRuleTagActions {
public:
    using Object = platform::runtime::Object;
    using Sel = platform::runtime::Sel;

    // Finds "_otherInfo" on "MessageRule", adds the methods below and replaces the host's
    // init and performActionsOnMessages:destinationStores:rejectedMessages:messagesToBeDeleted:.
    static void load();

    // The extra dictionary itself; nothing when the rule has none or the host has no such
    // variable (then setting does nothing, and every tag action is absent).
    static std::optional<platform::Dictionary> LUotherInfo(Object* self, Sel = {});
    static void LUsetOtherInfo(Object* self, Sel, std::optional<platform::Dictionary> info);

    static platform::Value lumettaValueForAction(Object* self, Sel, std::string key);
    // Yes only when the stored value is the string "YES".
    static bool lumettaBooleanForAction(Object* self, Sel, std::string key);
    // Stores a new dictionary with the key set (a null value removes it).
    static void lumettaSetValueForAction(Object* self, Sel, platform::Value value, std::string key);
    // Yes stores "YES"; no removes the key.
    static void lumettaSetBooleanForAction(Object* self, Sel, bool value, std::string key);

    // The marks to take off matched messages as a host flag word: bit 0 read
    // ("MarkUnread"), bit 4 flagged ("MarkUnflagged"); other bits are dropped.
    static void setFlagsToRemove(Object* self, Sel, unsigned flags);
    static unsigned flagsToRemove(Object* self, Sel = {});

    // The replacements.
    static Object* lumetta_init(Object* self, Sel sel);
    static void lumetta_performActionsOnMessages(Object* self, Sel sel, mailhost::MessageList messages,
                                                 std::vector<std::string>* destinationStores,
                                                 mailhost::MessageList* rejectedMessages,
                                                 mailhost::MessageList* messagesToBeDeleted);
};

// Selectors of the methods above, as the host and the editors reach them.
namespace RuleSelectors {
inline constexpr const char* kOtherInfo = "LUotherInfo";
inline constexpr const char* kSetOtherInfo = "LUsetOtherInfo:";
inline constexpr const char* kValueForAction = "lumettaValueForAction:";
inline constexpr const char* kBooleanForAction = "lumettaBooleanForAction:";
inline constexpr const char* kSetValueForAction = "lumettaSetValue:forAction:";
inline constexpr const char* kSetBooleanForAction = "lumettaSetBoolean:forAction:";
inline constexpr const char* kSetFlagsToRemove = "setFlagsToRemove:";
inline constexpr const char* kFlagsToRemove = "flagsToRemove";
} // namespace RuleSelectors

} // namespace lumetta
