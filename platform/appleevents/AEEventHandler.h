#pragma once

#include "platform/appleevents/AppleEvent.h"

#include <functional>

namespace platform::appleevents {

// What an application does with an event it receives: look at the request, act, and
// return the answer. Only the returned event's parameters matter — put the result in
// '----', or an error with setError('errn'/'errs'); the caller addresses the reply to the
// request. Returning AppleEvent::replyTo(request) with parameters is the clear way.
//
// The handler runs for every request, waiting or not; its answer travels back only when
// the sender waits.
using AEEventHandler = std::function<AppleEvent(const AppleEvent& request)>;

// Runs `handler` and turns its answer into the reply to `request` ('aevt'/'ansr', the
// request's return and transaction IDs, the answer's parameters). A handler that throws
// answers errAEEventFailed with the exception's text: nothing unwinds into the transport.
AppleEvent answerRequest(const AEEventHandler& handler, const AppleEvent& request);

} // namespace platform::appleevents
