#pragma once

#include "platform/appleevents/OSType.h"

#include <cstdint>

namespace platform::appleevents {

// Descriptor types. Numbers inside atomic descriptors ('long', 'ldt ', 'type', 'enum',
// 'abso') are held in the machine's native byte order, as the event manager hands them
// to applications on the same machine.
inline constexpr DescType typeChar = fourCharCode("TEXT");         // text, bytes as given
inline constexpr DescType typeUTF8Text = fourCharCode("utf8");     // UTF-8 text
inline constexpr DescType typeSInt32 = fourCharCode("long");       // 4-byte signed integer
inline constexpr DescType typeLongDateTime = fourCharCode("ldt "); // 8-byte LongDateTime
inline constexpr DescType typeType = fourCharCode("type");         // 4-byte OSType
inline constexpr DescType typeEnumerated = fourCharCode("enum");   // 4-byte OSType
inline constexpr DescType typeApplicationBundleID = fourCharCode("bund");
inline constexpr DescType typeNull = fourCharCode("null");
inline constexpr DescType typeAEList = fourCharCode("list");
inline constexpr DescType typeAERecord = fourCharCode("reco");
inline constexpr DescType typeObjectSpecifier = fourCharCode("obj ");
inline constexpr DescType typeCompDescriptor = fourCharCode("cmpd");
inline constexpr DescType typeLogicalDescriptor = fourCharCode("logi");
inline constexpr DescType typeInsertionLoc = fourCharCode("insl");
inline constexpr DescType typeObjectBeingExamined = fourCharCode("exmn");
inline constexpr DescType typeAbsoluteOrdinal = fourCharCode("abso");
inline constexpr DescType typeAppleEvent = fourCharCode("aevt");

// Ordinals and positions.
inline constexpr OSType kAEAll = fourCharCode("all ");
inline constexpr OSType kAEEnd = fourCharCode("end ");

// Object specifier keys and forms.
inline constexpr AEKeyword keyAEDesiredClass = fourCharCode("want");
inline constexpr AEKeyword keyAEKeyForm = fourCharCode("form");
inline constexpr AEKeyword keyAEKeyData = fourCharCode("seld");
inline constexpr AEKeyword keyAEContainer = fourCharCode("from");
inline constexpr OSType formPropertyID = fourCharCode("prop");
inline constexpr OSType formAbsolutePosition = fourCharCode("indx");
inline constexpr OSType formName = fourCharCode("name");
inline constexpr OSType formTest = fourCharCode("test");
inline constexpr OSType cProperty = fourCharCode("prop");

// Comparisons, logic and insertion locations.
inline constexpr AEKeyword keyAECompOperator = fourCharCode("relo");
inline constexpr AEKeyword keyAEObject1 = fourCharCode("obj1");
inline constexpr AEKeyword keyAEObject2 = fourCharCode("obj2");
inline constexpr OSType kAEEquals = fourCharCode("=   ");
inline constexpr OSType kAEGreaterThan = fourCharCode(">   ");
inline constexpr OSType kAEContains = fourCharCode("cont");
inline constexpr AEKeyword keyAELogicalOperator = fourCharCode("logc");
inline constexpr AEKeyword keyAELogicalTerms = fourCharCode("term");
inline constexpr OSType kAEAND = fourCharCode("AND ");
inline constexpr AEKeyword keyAEObject = fourCharCode("kobj");
inline constexpr AEKeyword keyAEPosition = fourCharCode("kpos");

// Event parameters.
inline constexpr AEKeyword keyDirectObject = fourCharCode("----");
inline constexpr AEKeyword keyErrorNumber = fourCharCode("errn");
inline constexpr AEKeyword keyErrorString = fourCharCode("errs");
inline constexpr AEKeyword keyAEData = fourCharCode("data");
inline constexpr AEKeyword keyAEObjectClass = fourCharCode("kocl");
inline constexpr AEKeyword keyAEInsertHere = fourCharCode("insh");
inline constexpr AEKeyword keyAEPropData = fourCharCode("prdt");
inline constexpr AEKeyword keyAERequestedType = fourCharCode("rtyp");

// The reply event and the launch event.
inline constexpr AEEventClass kCoreEventClass = fourCharCode("aevt");
inline constexpr AEEventID kAEAnswer = fourCharCode("ansr");
inline constexpr AEEventID kAEOpenApplication = fourCharCode("oapp");

// Event addressing.
using AEReturnID = std::int16_t;
using AETransactionID = std::int32_t;
inline constexpr AEReturnID kAutoGenerateReturnID = -1;
inline constexpr AETransactionID kAnyTransactionID = 0;

// Send modes: one reply mode, one interaction level, and flags. Nothing on this system
// ever puts up a dialog for an event, so interaction levels and the remaining flags are
// accepted and change nothing. A queued reply has no event queue to arrive in: it is sent
// like kAENoReply and the application's answer is dropped.
using AESendMode = std::int32_t;
inline constexpr AESendMode kAENoReply = 0x00000001;
inline constexpr AESendMode kAEQueueReply = 0x00000002;
inline constexpr AESendMode kAEWaitReply = 0x00000003;
inline constexpr AESendMode kAEReplyModeMask = 0x00000003;
inline constexpr AESendMode kAENeverInteract = 0x00000010;
inline constexpr AESendMode kAECanInteract = 0x00000020;
inline constexpr AESendMode kAEAlwaysInteract = 0x00000030;
inline constexpr AESendMode kAEInteractMask = 0x00000030;
inline constexpr AESendMode kAECanSwitchLayer = 0x00000040;
inline constexpr AESendMode kAEDontReconnect = 0x00000080;
inline constexpr AESendMode kAEWantReceipt = 0x00000200;
inline constexpr AESendMode kAEDontRecord = 0x00001000;
inline constexpr AESendMode kAEDontExecute = 0x00002000;
inline constexpr AESendMode kAEProcessNonReplyEvents = 0x00008000;
inline constexpr AESendMode kAEDoNotAutomaticallyAddAnnotationsToEvent = 0x00010000;

// Timeouts, in ticks of 1/60 s.
inline constexpr long kAEDefaultTimeout = -1; // about a minute
inline constexpr long kNoTimeOut = -2;        // wait as long as it takes
inline constexpr long kAEDefaultTimeoutTicks = 60 * 60;

// Status codes.
inline constexpr OSStatus noErr = 0;
inline constexpr OSStatus fnfErr = -43; // no program for the application
inline constexpr OSStatus paramErr = -50;
inline constexpr OSStatus memFullErr = -108;
inline constexpr OSStatus procNotFound = -600;      // the application is not running
inline constexpr OSStatus connectionInvalid = -609; // it went away before answering
inline constexpr OSStatus errAECoercionFail = -1700;
inline constexpr OSStatus errAEDescNotFound = -1701;
inline constexpr OSStatus errAECorruptData = -1702; // bytes that are no descriptor or event
inline constexpr OSStatus errAEWrongDataType = -1703;
inline constexpr OSStatus errAENotAEDesc = -1704;
inline constexpr OSStatus errAEBadListItem = -1705;
inline constexpr OSStatus errAEEventNotHandled = -1708;
inline constexpr OSStatus errAEUnknownSendMode = -1710;
inline constexpr OSStatus errAETimeout = -1712;
inline constexpr OSStatus errAEParamMissed = -1715;
inline constexpr OSStatus errAEUnknownAddressType = -1716;
inline constexpr OSStatus errAEHandlerNotFound = -1717;
inline constexpr OSStatus errAEIllegalIndex = -1719;
inline constexpr OSStatus errAEEventFailed = -10000;
inline constexpr OSStatus errAENoSuchObject = -1728;
inline constexpr OSStatus errAEBadKeyForm = -10002;
inline constexpr OSStatus errAENotModifiable = -10003;
inline constexpr OSStatus errAEReadDenied = -10005;
inline constexpr OSStatus errAEWriteDenied = -10006;

} // namespace platform::appleevents
