#include "lumetta/calendar/LumettaICalToDo.h"

#include "lumetta/core/DebugLogging.h"

namespace lumetta {

void LumettaICalToDo::setURL(const std::string& url) {
    debugLog(0, "To Do %@ now points at %@", {uid_, url});
}

} // namespace lumetta
