#pragma once

#include "calendarapp/app/CalendarCodes.h"

#include <string>

namespace calendarapp {

// The words a scripter sees for the calendar's codes, for error messages such as
// `Can't get summary of to do id "..." of calendar "Work".`
class Vocabulary {
public:
    static std::string className(OSType code);
    static std::string propertyName(OSType code);
};

} // namespace calendarapp
