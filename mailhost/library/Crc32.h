#pragma once

#include <cstdint>
#include <string_view>

namespace mailhost {

// CRC-32 (the IEEE polynomial zlib and PNG use). The write journal seals every
// record with it so that a record cut short by a crash, or a stray byte, is never
// mistaken for one that was written whole.
class Crc32 {
public:
    // Continues a checksum over more bytes; start with 0.
    static std::uint32_t update(std::uint32_t crc, std::string_view bytes);
    static std::uint32_t of(std::string_view bytes) { return update(0, bytes); }
};

} // namespace mailhost
