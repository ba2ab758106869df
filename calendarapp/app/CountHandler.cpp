#include "calendarapp/app/CountHandler.h"

#include "calendarapp/app/EventReply.h"
#include "calendarapp/app/Vocabulary.h"

#include <algorithm>

namespace calendarapp {

using namespace platform::appleevents;

AppleEvent CountHandler::handle(const AppleEvent& request) const {
    const AEDesc* kind = request.param(keyAEObjectClass);
    const OSType counted = kind != nullptr ? kind->osTypeValue().value_or(0) : cAnyObject;
    if (counted == 0)
        return EventReply::missingParameter(request, keyAEObjectClass);
    const AEDesc* direct = request.directObject();
    auto resolution = context_.resolver.resolve(direct != nullptr ? *direct : AEDesc::null());
    if (!resolution)
        return EventReply::failure(request, resolution.error());
    const Resolution& found = resolution.value();
    if (found.property != 0)
        return EventReply::failure(request,
                                   platform::makeError("Can't count the elements of " +
                                                           Vocabulary::propertyName(found.property) + ".",
                                                       errAENoSuchObject));
    std::size_t count = 0;
    if (found.plural) {
        count = static_cast<std::size_t>(
            std::count_if(found.objects.begin(), found.objects.end(), [counted](const ObjectRef& object) {
                return counted == cAnyObject || object.classCode() == counted;
            }));
    } else {
        auto elements = context_.resolver.elements(found.objects.front(), counted);
        if (!elements)
            return EventReply::failure(request, elements.error());
        count = elements.value().size();
    }
    return EventReply::result(request, AEDesc::longInteger(static_cast<std::int32_t>(count)));
}

} // namespace calendarapp
