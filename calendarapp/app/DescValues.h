#pragma once

#include "platform/appleevents/AEDesc.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Result.h"

#include <optional>
#include <string>
#include <string_view>

namespace calendarapp {

// Values between descriptors and the store. Text travels as 'TEXT' in Mac OS Roman, dates
// as 'ldt ', priorities as the enumerators 'tdp1' (high), 'tdp5', 'tdp9' (low) and 'tdp0'
// (none). Reading fails with errAECoercionFail for a descriptor of another kind; a 'null'
// descriptor reads as "no value", which clears a property.
class DescValues {
public:
    using AEDesc = platform::appleevents::AEDesc;

    // 'TEXT' (Mac OS Roman) or 'utf8' as UTF-8.
    static platform::Result<std::optional<std::string>> text(const AEDesc& desc);
    // 'TEXT' or 'utf8' bytes as they are: UIDs, which clients send as UTF-8 bytes in 'TEXT'.
    static platform::Result<std::optional<std::string>> rawText(const AEDesc& desc);
    static platform::Result<std::optional<platform::Date>> date(const AEDesc& desc);
    // The store's priority (1, 5, 9 or 0) from an enumerator, or from a 'long' 0-9.
    static platform::Result<int> priority(const AEDesc& desc);

    static platform::appleevents::OSType priorityCode(int storePriority);
    // Mac OS Roman 'TEXT', or 'utf8' for text that has characters Mac OS Roman lacks.
    static AEDesc textDescriptor(std::string_view utf8);
    // 'ldt ', or missing value for a date a LongDateTime cannot hold.
    static AEDesc dateDescriptor(platform::Date date);
    static AEDesc missingValue();
};

} // namespace calendarapp
