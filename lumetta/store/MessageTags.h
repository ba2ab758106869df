#pragma once

#include "mailhost/mail/Message.h"
#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Value.h"

#include <optional>
#include <string>

namespace lumetta {

// The tag operations every message answers, reached by selector so that the class
// of the message decides which implementation runs (a stored message loads its
// record from its file, a plain one keeps it in memory only). Anything in the
// plug-in that reads or changes one message's tags goes through these.
class MessageTags {
public:
    // The message's record; nullopt when it has none and none can be made (a stored
    // message whose file cannot be read).
    static std::optional<platform::Dictionary> lumettaExtraData(mailhost::Message& message);
    static bool lumettaHasExtraData(mailhost::Message& message);
    static platform::Value lumettaExtraDataForKey(mailhost::Message& message, const std::string& key);
    // Replaces the record with a copy of `record`; nullopt does nothing.
    static void lumettaSetExtraDataTo(mailhost::Message& message, std::optional<platform::Dictionary> record);
    // One tag change, saved to the message file at once (null `value` removes).
    static void lumettaSetExtraData(mailhost::Message& message, platform::Value value,
                                    const std::string& key);
    static void lumettaRemoveExtraDataForKey(mailhost::Message& message, const std::string& key);
    static void lumettaSynchroniseWithSpotlight(mailhost::Message& message);
    // Whether the message takes part in tagging at all.
    static bool respondsToExtraData(const mailhost::Message& message);

    // Typed readings of the record.
    static platform::Value lumettaKeyWords(mailhost::Message& message);
    static platform::Value lumettaProject(mailhost::Message& message);
    static platform::Value lumettaPriority(mailhost::Message& message);
    static platform::Value lumettaAnnotation(mailhost::Message& message);
    static bool lumettaDueDateState(mailhost::Message& message);
    // Only while the due-date state is in force.
    static platform::Value lumettaDueDate(mailhost::Message& message);
};

// Selectors of the tag operations, as categories register them on the host's
// message classes.
namespace TagSelectors {
inline constexpr const char* kExtraData = "lumettaExtraData";
inline constexpr const char* kHasExtraData = "lumettaHasExtraData";
inline constexpr const char* kExtraDataForKey = "lumettaExtraDataForKey:";
inline constexpr const char* kSetExtraDataTo = "lumettaSetExtraDataTo:";
inline constexpr const char* kSetExtraData = "lumettaSetExtraData:forKey:";
inline constexpr const char* kRemoveExtraData = "lumettaRemoveExtraDataForKey:";
inline constexpr const char* kSynchroniseWithSpotlight = "lumettaSynchroniseWithSpotlight";
inline constexpr const char* kUpdateTagSet = "updateTagSetForTag:withState:";
inline constexpr const char* kReadExtraDataFromPath = "lumettaReadExtraDataFromPath:";
} // namespace TagSelectors

// Implementation types of the tag operations (receiver, selector, arguments).
namespace TagImps {
using Object = platform::runtime::Object;
using Sel = platform::runtime::Sel;
using ExtraData = std::optional<platform::Dictionary> (*)(Object*, Sel);
using HasExtraData = bool (*)(Object*, Sel);
using ExtraDataForKey = platform::Value (*)(Object*, Sel, std::string);
using SetExtraDataTo = void (*)(Object*, Sel, std::optional<platform::Dictionary>);
using SetExtraData = void (*)(Object*, Sel, platform::Value, std::string);
using RemoveExtraData = void (*)(Object*, Sel, std::string);
using Synchronise = void (*)(Object*, Sel);
using UpdateTagSet = bool (*)(Object*, Sel, std::string, int);
using ReadExtraDataFromPath = void (*)(Object*, Sel, std::string);
} // namespace TagImps

} // namespace lumetta
