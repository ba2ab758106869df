#pragma once

#include "platform/appleevents/AEDesc.h"
#include "platform/appleevents/AppleEvent.h"
#include "platform/foundation/Result.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace platform::appleevents {

// Descriptors and events as bytes, for the socket between applications. The format is
// this system's own; all integers of the framing are big-endian:
//
//   Descriptor := Type:u32 Shape:u8 Body
//     Shape 0, atomic   Body := Length:u32 Bytes[Length]
//     Shape 1, list     Body := Count:u32 Descriptor[Count]
//     Shape 2, record   Body := Count:u32 (Keyword:u32 Descriptor)[Count]
//   Event := "LmAE" Version:u8(=1) Class:u32 ID:u32 ReturnID:i16 TransactionID:i32
//            Target:Descriptor Parameters:Descriptor (a 'reco')
//
// Atomic bytes travel as they are held, so numbers inside them stay in native byte order
// (both ends are on one machine).
//
// Reading trusts nothing: the shape must match the type ('list' only as a list, the
// record types only as records), fixed-size types must have their size ('long', 'type',
// 'enum', 'abso' 4 bytes, 'ldt ' 8, 'null' and 'exmn' none), record keywords are unique,
// nesting stops at kMaxDepth, a whole input holds at most kMaxDescriptors descriptors, and
// every length and count is checked against the bytes that remain before anything is
// allocated for it. Any violation, and any byte left over at the end, is an error with
// errAECorruptData and the offset where reading stopped.
class AEFlattener {
public:
    static constexpr std::size_t kMaxDepth = 64;
    static constexpr std::size_t kMaxDescriptors = std::size_t{1} << 18;
    // Nothing exchanged between two applications here comes near this.
    static constexpr std::size_t kMaxBytes = std::size_t{16} << 20;

    static std::string flatten(const AEDesc& desc);
    static std::string flatten(const AppleEvent& event);

    [[nodiscard]] static Result<AEDesc> unflattenDesc(std::string_view bytes);
    [[nodiscard]] static Result<AppleEvent> unflattenEvent(std::string_view bytes);
};

} // namespace platform::appleevents
