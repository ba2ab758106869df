#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace platform::appleevents {

// A four-character code: four bytes read as a 32-bit big-endian number, so 'TEXT' is
// 0x54455854 on every machine. Descriptor types, keywords, event classes and ids, and
// enumerators are all such codes.
using OSType = std::uint32_t;
using DescType = OSType;
using AEKeyword = OSType;
using AEEventClass = OSType;
using AEEventID = OSType;

// The classic status word: 0 for success, a negative code otherwise (see AECodes.h).
using OSStatus = std::int32_t;

// fourCharCode("TEXT") == 0x54455854. Codes are exactly four bytes; trailing blanks are
// part of the code ("ldt ", "=   ").
consteval OSType fourCharCode(const char (&code)[5]) {
    return (OSType{static_cast<unsigned char>(code[0])} << 24) |
           (OSType{static_cast<unsigned char>(code[1])} << 16) |
           (OSType{static_cast<unsigned char>(code[2])} << 8) | OSType{static_cast<unsigned char>(code[3])};
}

// The same from text known only at run time; anything but exactly four bytes gives 0.
OSType fourCharCodeFrom(std::string_view code);

// The code as log lines print it: 'TEXT' with the quotes. A code with a byte outside
// printable ASCII prints as hexadecimal (0x00000001) so a log line stays one readable line.
std::string osTypeString(OSType code);

} // namespace platform::appleevents
