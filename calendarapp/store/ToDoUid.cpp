#include "calendarapp/store/ToDoUid.h"

#include <array>
#include <cstdint>
#include <random>

namespace calendarapp {

std::string ToDoUid::generate() {
    static thread_local std::mt19937_64 engine{[] {
        std::random_device device;
        std::seed_seq seed{device(), device(), device(), device(), device(), device()};
        return std::mt19937_64(seed);
    }()};
    std::array<std::uint8_t, 16> bytes{};
    for (std::size_t i = 0; i < bytes.size(); i += 8) {
        std::uint64_t word = engine();
        for (std::size_t j = 0; j < 8; ++j, word >>= 8)
            bytes[i + j] = static_cast<std::uint8_t>(word);
    }
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40); // version 4
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80); // RFC 4122 variant
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string uid;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10)
            uid += '-';
        uid += kHex[bytes[i] >> 4];
        uid += kHex[bytes[i] & 0x0F];
    }
    return uid;
}

bool ToDoUid::isSafeFileName(std::string_view uid) {
    if (uid.empty() || uid.size() > 200 || uid.front() == '.')
        return false;
    for (const char c : uid) {
        const bool alnum = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        if (!alnum && c != '-' && c != '_' && c != '.' && c != '@' && c != '+')
            return false;
    }
    return true;
}

} // namespace calendarapp
