#pragma once

#include "platform/foundation/Result.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace platform {

// Checks untrusted binary property lists before libplist sees them. The library
// builds its trees recursively and expands shared references, so input that nests
// too deeply, refers to itself or fans out too far would overflow the stack or
// exhaust memory there; here it becomes an error instead.
class PropertyListGuard {
public:
    PropertyListGuard(std::size_t maxDepth, std::size_t maxObjects)
        : maxDepth_(maxDepth), maxObjects_(maxObjects) {}

    static bool looksBinary(std::span<const std::uint8_t> bytes);

    Result<void> checkBinary(std::span<const std::uint8_t> bytes) const;

private:
    std::size_t maxDepth_;
    std::size_t maxObjects_;
};

} // namespace platform
