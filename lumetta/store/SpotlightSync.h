#pragma once

#include "mailhost/mail/Message.h"
#include "platform/foundation/Dictionary.h"
#include "platform/runtime/Class.h"

#include <string>

namespace lumetta {

// Brings the metadata index's tag attributes of a message file in line with a tag
// dictionary ("lumettaUpdateSpotlightForDictionary:andMessage:atEmlxPath:" on the
// host's Library). The store calls it after every tag change and every host write;
// what it writes is decided here alone.
class SpotlightSync {
public:
    static void load();
    static void lumettaUpdateSpotlightForDictionary(platform::runtime::Class*, platform::runtime::Sel,
                                                    platform::Dictionary tags, mailhost::Message* message,
                                                    std::string path);
};

} // namespace lumetta
