#include "platform/appleevents/AESocketTransport.h"

#include "platform/appleevents/AEConnection.h"
#include "platform/appleevents/AEFlattener.h"
#include "platform/appleevents/AESocketPath.h"
#include "platform/foundation/Log.h"

namespace platform::appleevents {

OSStatus AESocketTransport::deliver(const AppleEvent& request, AppleEvent* reply,
                                    const AEDeadline& deadline) {
    const auto identifier = request.targetBundleIdentifier();
    if (!identifier)
        return errAEUnknownAddressType;
    // A name that cannot have a socket, or a folder someone else could have put one in,
    // means no application of ours runs under it.
    const auto path = AESocketPath::forBundleIdentifier(*identifier);
    if (!path || !AESocketPath::checkFolder())
        return procNotFound;
    const std::string event = AEFlattener::flatten(request);
    if (event.size() > AEFlattener::kMaxBytes)
        return paramErr;

    auto connection = AEConnection::open(path.value(), deadline);
    if (!connection)
        return connection.error().code;
    const auto kind = reply ? AEFrame::Kind::WaitingRequest : AEFrame::Kind::Request;
    if (auto sent = connection.value().send(AEFrame::encode(kind, event), deadline); !sent)
        return sent.error().code;
    if (!reply)
        return noErr;

    auto frame = connection.value().receive(deadline);
    if (!frame)
        return frame.error().code;
    if (frame.value().kind != AEFrame::Kind::Reply) {
        Log::line("Apple Event reply from " + *identifier + " is not a reply frame");
        return errAECorruptData;
    }
    auto answer = AEFlattener::unflattenEvent(frame.value().payload);
    if (!answer) {
        Log::line("Apple Event reply from " + *identifier + ": " + answer.error().message);
        return errAECorruptData;
    }
    *reply = std::move(answer.value());
    return noErr;
}

bool AESocketTransport::answers(const std::filesystem::path& socketPath) {
    return AEConnection::open(socketPath, std::chrono::steady_clock::now() + std::chrono::milliseconds(200))
        .ok();
}

} // namespace platform::appleevents
