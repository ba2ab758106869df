#pragma once

#include "platform/foundation/Dictionary.h"
#include "platform/runtime/Object.h"
#include "platform/runtime/Send.h"

#include <optional>
#include <string>

namespace lumetta {

// Tag access on messages made from a loose message file ("RecoveredMessage"): each
// object has its own record, read from the file when the object is made from it.
// Editing works as on any plain message: in memory only, since such a file belongs
// to no mailbox the host saves.
class RecoveredMessageTagAccess {
public:
    static void load();

    using Object = platform::runtime::Object;
    using Sel = platform::runtime::Sel;

    static std::optional<platform::Dictionary> lumettaExtraData(Object* self, Sel);
    static bool lumettaHasExtraData(Object* self, Sel);
    static void lumettaReadExtraDataFromPath(Object* self, Sel, std::string path);

    static std::size_t recordCountForTesting();

private:
    static Object* lumettaInitWithPath(Object* self, Sel selector, std::string path);
    static void lumettaDealloc(Object* self, Sel selector);
};

} // namespace lumetta
