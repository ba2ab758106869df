// Any bytes as a flattened descriptor or event: reading either fails with errAECorruptData
// or gives a value that flattens back to exactly the same bytes (the form has one spelling
// per value), and every reader and the printer accept whatever came out.
#include "platform/appleevents/AEDescription.h"
#include "platform/appleevents/AEFlattener.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace platform::appleevents;

namespace {

void readEverything(const AEDesc& desc) {
    (void)desc.int32Value();
    (void)desc.longDateTimeValue();
    (void)desc.dateValue();
    (void)desc.osTypeValue();
    (void)desc.stringValue();
    (void)desc.coerced(typeObjectSpecifier);
    for (std::size_t i = 1; i <= desc.count(); ++i)
        readEverything(*desc.item(i));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);

    auto desc = AEFlattener::unflattenDesc(bytes);
    if (desc.ok()) {
        if (AEFlattener::flatten(desc.value()) != bytes)
            std::abort();
        readEverything(desc.value());
        (void)describe(desc.value());
    } else if (desc.error().code != errAECorruptData) {
        std::abort();
    }

    auto event = AEFlattener::unflattenEvent(bytes);
    if (event.ok()) {
        if (AEFlattener::flatten(event.value()) != bytes)
            std::abort();
        readEverything(event.value().parameters());
        (void)event.value().errorString();
    } else if (event.error().code != errAECorruptData) {
        std::abort();
    }
    return 0;
}
