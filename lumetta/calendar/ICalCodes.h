#pragma once

#include "platform/appleevents/AECodes.h"

namespace lumetta::ICalCodes {

using platform::appleevents::fourCharCode;
using platform::appleevents::OSType;

// The calendar application, as events address it.
inline constexpr const char* kBundleIdentifier = "com.apple.iCal";

// The calendar's scripting vocabulary as its raw four-character codes: the client speaks
// to it without a dictionary, so these are the whole agreement between the two.
inline constexpr OSType cCalendar = fourCharCode("wres");
inline constexpr OSType cToDo = fourCharCode("wret");
inline constexpr OSType cDisplayAlarm = fourCharCode("wal1");
inline constexpr OSType cItem = fourCharCode("cobj");

inline constexpr OSType pName = fourCharCode("pnam");
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

inline constexpr OSType kPriorityNone = fourCharCode("tdp0");
inline constexpr OSType kPriorityLow = fourCharCode("tdp9");
inline constexpr OSType kPriorityMedium = fourCharCode("tdp5");
inline constexpr OSType kPriorityHigh = fourCharCode("tdp1");

inline constexpr OSType kCoreSuite = fourCharCode("core");
inline constexpr OSType kGetData = fourCharCode("getd");
inline constexpr OSType kSetData = fourCharCode("setd");
inline constexpr OSType kCreateElement = fourCharCode("crel");
inline constexpr OSType kDelete = fourCharCode("delo");
inline constexpr OSType kCountElements = fourCharCode("cnte");
inline constexpr OSType kCalendarSuite = fourCharCode("wrbt");
inline constexpr OSType kShow = fourCharCode("aec3");
inline constexpr OSType kMiscSuite = fourCharCode("misc");
inline constexpr OSType kActivate = fourCharCode("actv");

} // namespace lumetta::ICalCodes
