#pragma once

#include "platform/appleevents/AEDesc.h"
#include "platform/foundation/Date.h"

#include <cstdint>
#include <string>

namespace calendarapp {

// The value of one property of a calendar object, as the store holds it: text in UTF-8,
// dates to the fraction of a second. Tests compare these values; replies carry their
// descriptors (Mac OS Roman text, 'ldt ' dates).
class PropertyValue {
public:
    enum class Kind { Missing, Text, Date, Integer, Enumeration, TypeCode };

    static PropertyValue missing() { return PropertyValue(Kind::Missing); }
    static PropertyValue text(std::string utf8);
    static PropertyValue date(platform::Date date);
    static PropertyValue integer(std::int32_t value);
    static PropertyValue enumeration(platform::appleevents::OSType code);
    static PropertyValue typeCode(platform::appleevents::OSType code);

    Kind kind() const { return kind_; }
    const std::string& text() const { return text_; }
    platform::Date date() const { return date_; }
    std::int32_t integer() const { return integer_; }
    platform::appleevents::OSType code() const { return code_; }

    platform::appleevents::AEDesc descriptor() const;

private:
    explicit PropertyValue(Kind kind) : kind_(kind) {}

    Kind kind_;
    std::string text_;
    platform::Date date_;
    std::int32_t integer_ = 0;
    platform::appleevents::OSType code_ = 0;
};

} // namespace calendarapp
