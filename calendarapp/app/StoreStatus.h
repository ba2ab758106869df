#pragma once

#include "platform/foundation/Result.h"

namespace calendarapp {

// Store errors (errno-style codes) as the statuses a scripting client expects in 'errn',
// keeping the store's message for 'errs': a calendar or to-do that is not there is
// errAENoSuchObject, a read-only folder or file errAEWriteDenied, anything else
// errAEEventFailed.
class StoreStatus {
public:
    static platform::Error toEventError(const platform::Error& storeError);
};

} // namespace calendarapp
