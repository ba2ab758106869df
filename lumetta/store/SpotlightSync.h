#pragma once

#include "mailhost/mail/Message.h"
#include "platform/foundation/Dictionary.h"
#include "platform/runtime/Class.h"
#include "platform/spotlight/MDItem.h"

#include <string>

namespace lumetta {

// Brings the metadata index's tag attributes of a message file in line with a tag
// dictionary ("lumettaUpdateSpotlightForDictionary:andMessage:atEmlxPath:" on the
// host's Library). The store calls it after every tag change and every host write.
// Every mirrored attribute is rewritten from the whole dictionary each time: there is
// no per-key update, so an attribute can never lag behind the tags it mirrors.
class SpotlightSync {
public:
    static void load();
    static void lumettaUpdateSpotlightForDictionary(platform::runtime::Class*, platform::runtime::Sel,
                                                    platform::Dictionary tags, mailhost::Message* message,
                                                    std::string path);
    // Removes one attribute from the file's item, tracing it; an absent item or attribute
    // is left alone without a word.
    static void lumettaRemoveTag(platform::runtime::Class*, platform::runtime::Sel, std::string name,
                                 platform::spotlight::MDItemRef item, std::string path);
};

} // namespace lumetta
