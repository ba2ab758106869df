#include "calendarapp/app/StoreStatus.h"

#include "calendarapp/app/CalendarCodes.h"

#include <cerrno>

namespace calendarapp {

using namespace platform::appleevents;

platform::Error StoreStatus::toEventError(const platform::Error& storeError) {
    switch (storeError.code) {
    case ENOENT:
        return platform::makeError(storeError.message, errAENoSuchObject);
    case EACCES:
    case EPERM:
    case EROFS:
        return platform::makeError(storeError.message, errAEWriteDenied);
    default:
        return platform::makeError(storeError.message, errAEEventFailed);
    }
}

} // namespace calendarapp
