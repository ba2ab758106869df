#pragma once

#include "platform/appleevents/AECodes.h"
#include "platform/appleevents/OSType.h"

namespace calendarapp {

using platform::appleevents::fourCharCode;
using platform::appleevents::OSStatus;
using platform::appleevents::OSType;

// The calendar's scripting vocabulary as four-character codes: what its clients name in
// object specifiers and events.

// Classes.
inline constexpr OSType cApplication = fourCharCode("capp");
inline constexpr OSType cCalendar = fourCharCode("wres");
inline constexpr OSType cToDo = fourCharCode("wret");
inline constexpr OSType cDisplayAlarm = fourCharCode("wal1");
inline constexpr OSType cAnyObject = fourCharCode("cobj"); // "item": any element

// Properties.
inline constexpr OSType pName = fourCharCode("pnam");
inline constexpr OSType pClass = fourCharCode("pcls");
inline constexpr OSType pAllProperties = fourCharCode("pALL");
inline constexpr OSType pUid = fourCharCode("wr10");
inline constexpr OSType pSummary = fourCharCode("wr11");
inline constexpr OSType pNotes = fourCharCode("wr12");
inline constexpr OSType pUrl = fourCharCode("wr16");
inline constexpr OSType pCompletionDate = fourCharCode("wrt1");
inline constexpr OSType pDueDate = fourCharCode("wrt3");
inline constexpr OSType pPriority = fourCharCode("wrt5");
inline constexpr OSType pStamp = fourCharCode("wr4s");
inline constexpr OSType pTriggerDate = fourCharCode("wale");
// This application's own: the folder its to-do store lives in (for `lumetta calendar status`).
inline constexpr OSType pStoreFolder = fourCharCode("LmSF");

// Priority enumerators.
inline constexpr OSType kPriorityNone = fourCharCode("tdp0");
inline constexpr OSType kPriorityHigh = fourCharCode("tdp1");
inline constexpr OSType kPriorityMedium = fourCharCode("tdp5");
inline constexpr OSType kPriorityLow = fourCharCode("tdp9");

// "missing value": what a property without a value reads as.
inline constexpr OSType cMissingValue = fourCharCode("msng");

// Key forms and ordinals beyond the ones every application uses.
inline constexpr OSType formUniqueID = fourCharCode("ID  ");
inline constexpr OSType kAEFirst = fourCharCode("firs");
inline constexpr OSType kAELast = fourCharCode("last");
inline constexpr OSType kAEBeginning = fourCharCode("bgng");

// Comparison and logic operators beyond '=   ', '>   ', 'cont' and 'AND '.
inline constexpr OSType kAELessThan = fourCharCode("<   ");
inline constexpr OSType kAEGreaterThanEquals = fourCharCode(">=  ");
inline constexpr OSType kAELessThanEquals = fourCharCode("<=  ");
inline constexpr OSType kAEBeginsWith = fourCharCode("bgwt");
inline constexpr OSType kAEEndsWith = fourCharCode("ends");
inline constexpr OSType kAEOR = fourCharCode("OR  ");
inline constexpr OSType kAENOT = fourCharCode("NOT ");

// Events.
inline constexpr OSType kAECoreSuite = fourCharCode("core");
inline constexpr OSType kAEGetData = fourCharCode("getd");
inline constexpr OSType kAESetData = fourCharCode("setd");
inline constexpr OSType kAECreateElement = fourCharCode("crel");
inline constexpr OSType kAEDelete = fourCharCode("delo");
inline constexpr OSType kAECountElements = fourCharCode("cnte");
inline constexpr OSType kCalendarSuite = fourCharCode("wrbt");
inline constexpr OSType kAEShow = fourCharCode("aec3");
inline constexpr OSType kAEMiscStandards = fourCharCode("misc");
inline constexpr OSType kAEActivate = fourCharCode("actv");
inline constexpr OSType kAEQuitApplication = fourCharCode("quit");
inline constexpr OSType kAEReopenApplication = fourCharCode("rapp");

// Statuses the event layer does not name.
inline constexpr OSStatus errAENotAnObjSpec = -1727;
inline constexpr OSStatus errAEBadTestKey = -10001;

// The identifier clients address the calendar by.
inline constexpr const char* kCalendarBundleIdentifier = "com.apple.iCal";

} // namespace calendarapp
