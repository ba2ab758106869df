#include "platform/foundation/PropertyListGuard.h"

#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

namespace {

std::uint64_t readBigEndian(const std::uint8_t* p, std::size_t size) {
    std::uint64_t v = 0;
    for (std::size_t i = 0; i < size; ++i)
        v = (v << 8) | p[i];
    return v;
}

Error tooDeep(std::size_t maxDepth) {
    return makeError("property list nests deeper than " + std::to_string(maxDepth) + " levels");
}

} // namespace

bool PropertyListGuard::looksBinary(std::span<const std::uint8_t> bytes) {
    return bytes.size() >= 8 && std::memcmp(bytes.data(), "bplist00", 8) == 0;
}

Result<void> PropertyListGuard::checkBinary(std::span<const std::uint8_t> bytes) const {
    constexpr std::size_t kHeader = 8, kTrailer = 32;
    if (bytes.size() < kHeader + kTrailer + 1)
        return makeError("binary property list is truncated");
    const std::uint8_t* trailer = bytes.data() + bytes.size() - kTrailer;
    const std::size_t offsetSize = trailer[6];
    const std::size_t refSize = trailer[7];
    const std::uint64_t objectCount = readBigEndian(trailer + 8, 8);
    const std::uint64_t top = readBigEndian(trailer + 16, 8);
    const std::uint64_t tableOffset = readBigEndian(trailer + 24, 8);
    const std::uint64_t end = bytes.size() - kTrailer;
    if (offsetSize < 1 || offsetSize > 8 || refSize < 1 || refSize > 8)
        return makeError("binary property list has invalid integer sizes in its trailer");
    if (objectCount == 0 || top >= objectCount || tableOffset < kHeader || tableOffset > end ||
        objectCount > (end - tableOffset) / offsetSize)
        return makeError("binary property list has an invalid offset table");

    auto objectOffset = [&](std::uint64_t index) {
        return readBigEndian(bytes.data() + tableOffset + index * offsetSize, offsetSize);
    };

    // Depth-first over references, as the parser would expand them, with an explicit
    // stack so that this check itself cannot overflow.
    struct Pending {
        std::uint64_t index;
        std::size_t depth;
    };
    std::vector<Pending> stack{{top, 1}};
    std::size_t visited = 0;
    while (!stack.empty()) {
        const Pending item = stack.back();
        stack.pop_back();
        if (item.depth > maxDepth_ + 1)
            return tooDeep(maxDepth_);
        if (++visited > maxObjects_)
            return makeError("binary property list expands to more than " + std::to_string(maxObjects_) +
                             " objects");
        const std::uint64_t offset = objectOffset(item.index);
        if (offset < kHeader || offset >= tableOffset)
            return makeError("binary property list has an object outside its data");
        const std::uint8_t marker = bytes[offset];
        const unsigned kind = marker >> 4;
        if (kind != 0xA && kind != 0xC && kind != 0xD)
            continue; // scalars: their bounds are the parser's to check
        std::uint64_t count = marker & 0x0F;
        std::uint64_t refs = offset + 1;
        if (count == 0x0F) {
            if (refs >= tableOffset || (bytes[refs] >> 4) != 0x1)
                return makeError("binary property list has an invalid collection size");
            const std::size_t sizeBytes = std::size_t{1} << (bytes[refs] & 0x0F);
            if (sizeBytes > 8 || refs + 1 + sizeBytes > tableOffset)
                return makeError("binary property list has an invalid collection size");
            count = readBigEndian(bytes.data() + refs + 1, sizeBytes);
            refs += 1 + sizeBytes;
        }
        const std::uint64_t refCount = kind == 0xD ? count * 2 : count;
        if (count > tableOffset || refCount > (tableOffset - refs) / refSize)
            return makeError("binary property list has a collection running past its data");
        for (std::uint64_t i = 0; i < refCount; ++i) {
            const std::uint64_t ref = readBigEndian(bytes.data() + refs + i * refSize, refSize);
            if (ref >= objectCount)
                return makeError("binary property list refers to a missing object");
            stack.push_back({ref, item.depth + 1});
        }
        if (stack.size() > maxObjects_)
            return makeError("binary property list expands to more than " + std::to_string(maxObjects_) +
                             " objects");
    }
    return {};
}

} // namespace platform
