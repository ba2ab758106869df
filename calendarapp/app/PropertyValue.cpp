#include "calendarapp/app/PropertyValue.h"

#include "calendarapp/app/DescValues.h"

namespace calendarapp {

using platform::appleevents::AEDesc;
using platform::appleevents::OSType;

PropertyValue PropertyValue::text(std::string utf8) {
    PropertyValue value(Kind::Text);
    value.text_ = std::move(utf8);
    return value;
}

PropertyValue PropertyValue::date(platform::Date date) {
    PropertyValue value(Kind::Date);
    value.date_ = date;
    return value;
}

PropertyValue PropertyValue::integer(std::int32_t number) {
    PropertyValue value(Kind::Integer);
    value.integer_ = number;
    return value;
}

PropertyValue PropertyValue::enumeration(OSType code) {
    PropertyValue value(Kind::Enumeration);
    value.code_ = code;
    return value;
}

PropertyValue PropertyValue::typeCode(OSType code) {
    PropertyValue value(Kind::TypeCode);
    value.code_ = code;
    return value;
}

AEDesc PropertyValue::descriptor() const {
    switch (kind_) {
    case Kind::Missing:
        return DescValues::missingValue();
    case Kind::Text:
        return DescValues::textDescriptor(text_);
    case Kind::Date:
        return DescValues::dateDescriptor(date_);
    case Kind::Integer:
        return AEDesc::longInteger(integer_);
    case Kind::Enumeration:
        return AEDesc::enumerated(code_);
    case Kind::TypeCode:
        return AEDesc::typeCode(code_);
    }
    return DescValues::missingValue();
}

} // namespace calendarapp
