#include "lumetta/store/SpotlightSync.h"

#include "mailhost/mail/Library.h"
#include "platform/runtime/Runtime.h"

namespace lumetta {

void SpotlightSync::load() {
    if (platform::runtime::Class* cls = platform::runtime::Runtime::classNamed(mailhost::Library::kClassName))
        cls->addClassMethod("lumettaUpdateSpotlightForDictionary:andMessage:atEmlxPath:",
                            &lumettaUpdateSpotlightForDictionary);
}

// The library has no metadata index yet: there is nothing to bring in line, and the
// tags in the message file stay the only record.
void SpotlightSync::lumettaUpdateSpotlightForDictionary(platform::runtime::Class*, platform::runtime::Sel,
                                                        platform::Dictionary, mailhost::Message*,
                                                        std::string) {}

} // namespace lumetta
