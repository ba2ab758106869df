#pragma once

#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Object.h"
#include "platform/runtime/Send.h"

#include <optional>
#include <string>

namespace lumetta {

// Tag access on messages stored in the library ("LibraryMessage" and its IMAP
// variant). The host may hold several objects for one stored message, so records
// are shared by message identifier: the first fetch loads the record from the
// message file, every object that fetches it is counted by an instance token, and
// the record is dropped when the last of them goes, so the next fetch reads the
// file again. Changes are saved through the host's own file-update path.
class LibraryMessageTagAccess {
public:
    static void load();

    using Object = platform::runtime::Object;
    using Sel = platform::runtime::Sel;

    static std::optional<platform::Dictionary> lumettaExtraData(Object* self, Sel);
    static bool lumettaHasExtraData(Object* self, Sel);
    static void lumettaSetExtraDataTo(Object* self, Sel, std::optional<platform::Dictionary> record);
    static void lumettaSetExtraData(Object* self, Sel, platform::Value value, std::string key);
    static void lumettaRemoveExtraDataForKey(Object* self, Sel, std::string key);

    // The tag keys the message's file held when its record was read from it or last
    // saved into it, kept beside the record and dropped with it. A save compares the
    // record with these to know which tags this process changed, and leaves the
    // others as the file holds them now, which another process may have changed.
    static std::optional<platform::Dictionary> tagsAsSaved(const std::string& messageID);
    static void setTagsAsSaved(const std::string& messageID, platform::Dictionary tags);
    static void forgetTagsAsSaved(const std::string& messageID);

    struct TableSizes {
        std::size_t records = 0;
        std::size_t tokenSets = 0;
    };
    static TableSizes tableSizesForTesting();

private:
    static void lumettaDealloc(Object* self, Sel selector);
};

} // namespace lumetta
