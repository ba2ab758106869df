// Any bytes at all: parsing either yields a value or an error, and whatever it
// yields can be written back as XML and read again to the same value.
#include "platform/foundation/PropertyList.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    auto parsed = platform::PropertyList::parse(std::span<const std::uint8_t>(data, size));
    if (!parsed.ok())
        return 0;
    auto xml = platform::PropertyList::xml(parsed.value());
    if (!xml.ok())
        return 0;
    auto again = platform::PropertyList::parse(xml.value());
    if (!again.ok())
        std::abort();
    return 0;
}
