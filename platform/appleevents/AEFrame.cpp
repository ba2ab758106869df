#include "platform/appleevents/AEFrame.h"

#include "platform/appleevents/AECodes.h"
#include "platform/appleevents/AEFlattener.h"

namespace platform::appleevents {

std::string AEFrame::encode(Kind kind, std::string_view payload) {
    const auto length = static_cast<std::uint32_t>(payload.size() + 1);
    std::string out;
    out.reserve(kHeaderBytes + payload.size());
    out.push_back(static_cast<char>(length >> 24));
    out.push_back(static_cast<char>(length >> 16));
    out.push_back(static_cast<char>(length >> 8));
    out.push_back(static_cast<char>(length));
    out.push_back(static_cast<char>(kind));
    out += payload;
    return out;
}

Result<std::optional<AEFrame>> AEFrame::take(std::string& buffer) {
    if (buffer.size() < kHeaderBytes)
        return std::optional<AEFrame>();
    std::uint32_t length = 0;
    for (int i = 0; i < 4; ++i)
        length = (length << 8) | static_cast<std::uint8_t>(buffer[static_cast<std::size_t>(i)]);
    if (length == 0 || length - 1 > AEFlattener::kMaxBytes)
        return makeError("an Apple Event frame announces " + std::to_string(length) + " bytes",
                         errAECorruptData);
    const auto kind = static_cast<Kind>(buffer[4]);
    if (kind != Kind::WaitingRequest && kind != Kind::Request && kind != Kind::Reply)
        return makeError("an Apple Event frame is of an unknown kind", errAECorruptData);
    if (buffer.size() - 4 < length)
        return std::optional<AEFrame>();
    AEFrame frame{kind, buffer.substr(kHeaderBytes, length - 1)};
    buffer.erase(0, 4 + std::size_t{length});
    return std::optional<AEFrame>(std::move(frame));
}

} // namespace platform::appleevents
