#include "calendarapp/app/DeleteHandler.h"

#include "calendarapp/app/EventReply.h"
#include "calendarapp/app/StoreStatus.h"

namespace calendarapp {

using namespace platform::appleevents;

AppleEvent DeleteHandler::handle(const AppleEvent& request) const {
    const AEDesc* direct = request.directObject();
    if (direct == nullptr)
        return EventReply::missingParameter(request, keyDirectObject);
    auto resolution = context_.resolver.resolve(*direct);
    if (!resolution)
        return EventReply::failure(request, resolution.error());
    const Resolution& found = resolution.value();
    for (const ObjectRef& object : found.objects) {
        if (found.property != 0 || object.kind != ObjectRef::Kind::ToDo)
            return EventReply::failure(request, platform::makeError("Can't delete " + object.description() +
                                                                        ": only to dos are deleted here.",
                                                                    errAEEventFailed));
        if (auto deleted = context_.store.deleteToDo(object.uid); !deleted)
            return EventReply::failure(request, StoreStatus::toEventError(deleted.error()));
    }
    return EventReply::done(request);
}

} // namespace calendarapp
