#include "calendarapp/app/GetDataHandler.h"

#include "calendarapp/app/CanonicalReference.h"
#include "calendarapp/app/DescValues.h"
#include "calendarapp/app/EventReply.h"
#include "platform/appleevents/AEDescription.h"

namespace calendarapp {

using namespace platform::appleevents;
using platform::Result;

namespace {

Result<AEDesc> asRequested(AEDesc value, DescType type) {
    if (value.descriptorType() == type)
        return value;
    if (type == typeChar || type == typeUTF8Text) {
        if (auto text = value.stringValue())
            return type == typeChar ? DescValues::textDescriptor(*text) : AEDesc::utf8Text(*text);
    }
    if (type == typeAEList)
        return AEDesc::list({std::move(value)});
    auto coerced = value.coerced(type);
    if (!coerced)
        return platform::makeError("Can't make " + describe(value) + " into type " + osTypeString(type) + ".",
                                   errAECoercionFail);
    return coerced;
}

} // namespace

AppleEvent GetDataHandler::handle(const AppleEvent& request) const {
    const AEDesc* direct = request.directObject();
    if (direct == nullptr)
        return EventReply::missingParameter(request, keyDirectObject);
    AEDesc answer;
    if (direct->descriptorType() != typeObjectSpecifier) {
        answer = *direct; // a value gets itself, as in a script
    } else {
        auto resolution = context_.resolver.resolve(*direct);
        if (!resolution)
            return EventReply::failure(request, resolution.error());
        const Resolution& found = resolution.value();
        std::vector<AEDesc> values;
        values.reserve(found.objects.size());
        for (const ObjectRef& object : found.objects) {
            if (found.property == 0) {
                values.push_back(CanonicalReference::of(object));
                continue;
            }
            auto value = context_.reader.descriptor(object, found.property);
            if (!value)
                return EventReply::failure(request, value.error());
            values.push_back(std::move(value.value()));
        }
        answer = found.plural ? AEDesc::list(std::move(values)) : std::move(values.front());
    }
    if (const AEDesc* requested = request.param(keyAERequestedType)) {
        const auto type = requested->osTypeValue();
        if (!type)
            return EventReply::failure(
                request, platform::makeError(describe(*requested) + " is not a type.", errAEWrongDataType));
        auto converted = asRequested(std::move(answer), *type);
        if (!converted)
            return EventReply::failure(request, converted.error());
        answer = std::move(converted.value());
    }
    return EventReply::result(request, std::move(answer));
}

} // namespace calendarapp
