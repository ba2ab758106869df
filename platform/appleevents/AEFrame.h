#pragma once

#include "platform/foundation/Result.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform::appleevents {

// One message on an application's socket:
//
//   Frame := Length:u32 (big-endian, counts Kind and Payload) Kind:u8 Payload
//
// The payload is a flattened event (AEFlattener). A request says whether its sender waits:
// the application answers a waiting request with one reply frame on the same connection
// and answers nothing else. One connection may carry several requests in turn.
struct AEFrame {
    enum class Kind : std::uint8_t { WaitingRequest = 'W', Request = 'N', Reply = 'R' };

    static constexpr std::size_t kHeaderBytes = 5;

    Kind kind = Kind::Request;
    std::string payload;

    static std::string encode(Kind kind, std::string_view payload);

    // Removes the first complete frame from the front of `buffer`. Nothing (and the buffer
    // untouched) while the frame is still incomplete; an error with errAECorruptData for a
    // length beyond the largest event or an unknown kind, after which the connection
    // cannot be trusted.
    static Result<std::optional<AEFrame>> take(std::string& buffer);
};

} // namespace platform::appleevents
