#include "calendarapp/app/DescValues.h"

#include "calendarapp/app/CalendarCodes.h"
#include "calendarapp/store/ToDoPriority.h"
#include "platform/appleevents/AEDescription.h"

namespace calendarapp {

using namespace platform::appleevents;
using platform::Result;

namespace {

platform::Error cannotMake(const AEDesc& desc, const char* into) {
    return platform::makeError("Can't make " + describe(desc) + " into " + into + ".", errAECoercionFail);
}

} // namespace

Result<std::optional<std::string>> DescValues::text(const AEDesc& desc) {
    if (desc.isNull())
        return std::optional<std::string>();
    const DescType type = desc.descriptorType();
    if (type != typeChar && type != typeUTF8Text)
        return cannotMake(desc, "text");
    return desc.stringValue();
}

Result<std::optional<std::string>> DescValues::rawText(const AEDesc& desc) {
    if (desc.isNull())
        return std::optional<std::string>();
    if (auto bytes = desc.textBytes())
        return bytes;
    return cannotMake(desc, "text");
}

Result<std::optional<platform::Date>> DescValues::date(const AEDesc& desc) {
    if (desc.isNull())
        return std::optional<platform::Date>();
    if (auto date = desc.dateValue())
        return date;
    return cannotMake(desc, "a date");
}

Result<int> DescValues::priority(const AEDesc& desc) {
    if (desc.descriptorType() == typeSInt32) {
        const auto number = desc.int32Value();
        if (number && ToDoPriority::isValid(*number))
            return ToDoPriority::normalised(*number);
        return cannotMake(desc, "a priority");
    }
    if (desc.descriptorType() != typeEnumerated && desc.descriptorType() != typeType)
        return cannotMake(desc, "a priority");
    switch (desc.osTypeValue().value_or(0)) {
    case kPriorityHigh:
        return ToDoPriority::kHigh;
    case kPriorityMedium:
        return ToDoPriority::kMedium;
    case kPriorityLow:
        return ToDoPriority::kLow;
    case kPriorityNone:
        return ToDoPriority::kNone;
    default:
        return cannotMake(desc, "a priority");
    }
}

OSType DescValues::priorityCode(int storePriority) {
    switch (ToDoPriority::normalised(storePriority)) {
    case ToDoPriority::kHigh:
        return kPriorityHigh;
    case ToDoPriority::kMedium:
        return kPriorityMedium;
    case ToDoPriority::kLow:
        return kPriorityLow;
    default:
        return kPriorityNone;
    }
}

AEDesc DescValues::textDescriptor(std::string_view utf8) {
    auto roman = AEDesc::macRomanText(utf8);
    return roman ? std::move(roman.value()) : AEDesc::utf8Text(utf8);
}

AEDesc DescValues::dateDescriptor(platform::Date date) {
    auto converted = AEDesc::longDateTime(date);
    return converted ? std::move(converted.value()) : missingValue();
}

AEDesc DescValues::missingValue() {
    return AEDesc::typeCode(cMissingValue);
}

} // namespace calendarapp
