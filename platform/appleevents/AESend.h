#pragma once

#include "platform/appleevents/AppleEvent.h"

namespace platform::appleevents {

// Sends `event` to the application its target names, through the current transport
// (AETransport::current(): the application's socket unless a test installed another).
//
// `sendMode` combines a reply mode with an interaction level and flags (AECodes.h):
//   kAEWaitReply | kAENeverInteract (0x13)  waits for the answer and stores it in `reply`;
//   kAENoReply | kAENeverInteract (0x11)    returns once the event is handed over.
// `timeoutInTicks` (1/60 s) bounds the whole exchange, kAEDefaultTimeout (-1) meaning
// about a minute and kNoTimeOut (-2) no limit; no send ever waits past it.
//
// Status: noErr, also when the reply carries an error of the application ('errn', see
// AppleEvent::errorNumber); procNotFound when the application is not running;
// connectionInvalid when it went away before answering; errAETimeout; errAECorruptData
// for an answer that is not a readable reply to this event; errAEUnknownSendMode and
// paramErr for a mode or timeout that means nothing; errAEUnknownAddressType for a target
// that is not a bundle identifier.
//
// `reply` may be null. It is reset to the null event first and holds the answer only
// after a waiting send that returned noErr. An event with kAutoGenerateReturnID gets a
// fresh return ID, which its reply must carry.
OSStatus AESendMessage(const AppleEvent& event, AppleEvent* reply, AESendMode sendMode, long timeoutInTicks);

} // namespace platform::appleevents
