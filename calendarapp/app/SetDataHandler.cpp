#include "calendarapp/app/SetDataHandler.h"

#include "calendarapp/app/EventReply.h"

namespace calendarapp {

using namespace platform::appleevents;

AppleEvent SetDataHandler::handle(const AppleEvent& request) const {
    const AEDesc* direct = request.directObject();
    if (direct == nullptr)
        return EventReply::missingParameter(request, keyDirectObject);
    const AEDesc* data = request.param(keyAEData);
    if (data == nullptr)
        return EventReply::missingParameter(request, keyAEData);
    auto resolution = context_.resolver.resolve(*direct);
    if (!resolution)
        return EventReply::failure(request, resolution.error());
    const Resolution& found = resolution.value();
    if (found.property == 0)
        return EventReply::failure(
            request, platform::makeError("Only properties can be set, not " +
                                             (found.objects.empty() ? std::string("objects")
                                                                    : found.objects.front().description()) +
                                             ".",
                                         errAENotModifiable));
    for (const ObjectRef& object : found.objects)
        if (auto set = context_.writer.set(object, found.property, *data); !set)
            return EventReply::failure(request, set.error());
    return EventReply::done(request);
}

} // namespace calendarapp
