#pragma once

#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Object.h"
#include "platform/runtime/Send.h"

#include <optional>
#include <string>

namespace lumetta {

// Tag access on every message (the host's "Message" class): records kept in memory
// per object, created empty on first request and dropped when the object goes. The
// editing steps here (set, remove) are shared by the subclasses' categories, which
// add saving to the message file.
class MessageTagAccess {
public:
    // Creates the side table, adds the tag operations to "Message" and replaces its
    // dealloc.
    static void load();

    using Object = platform::runtime::Object;
    using Sel = platform::runtime::Sel;

    static std::optional<platform::Dictionary> lumettaExtraData(Object* self, Sel);
    static bool lumettaHasExtraData(Object* self, Sel);
    static platform::Value lumettaExtraDataForKey(Object* self, Sel, std::string key);
    static void lumettaSetExtraDataTo(Object* self, Sel, std::optional<platform::Dictionary> record);
    static void lumettaSetExtraData(Object* self, Sel, platform::Value value, std::string key);
    static void lumettaRemoveExtraDataForKey(Object* self, Sel, std::string key);
    static void lumettaSynchroniseWithSpotlight(Object* self, Sel);
    static bool updateTagSetForTag(Object*, Sel, std::string, int) { return false; }

    // The in-memory part of a tag change, common to every kind of message: the log
    // line, the change to the record and the upkeep of its removal set. The record
    // is the one the receiver's class fetches; without one nothing changes.
    static void changeRecord(Object* self, const platform::Value& value, const std::string& key);
    static void removeFromRecord(Object* self, const std::string& key);

    static std::size_t recordCountForTesting();

private:
    static void lumettaDealloc(Object* self, Sel selector);
};

} // namespace lumetta
