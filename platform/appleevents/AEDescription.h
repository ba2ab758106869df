#pragma once

#include "platform/appleevents/AEDesc.h"

#include <string>

namespace platform::appleevents {

// A one-line rendering of a descriptor for log lines and test failures:
//     'obj '{'want': type('wret'), 'form': enum('test'), 'seld': ..., 'from': null}
// Text shows with C escapes for bytes outside printable ASCII; other atomic data as hex.
std::string describe(const AEDesc& desc);

} // namespace platform::appleevents
