#pragma once

#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Object.h"
#include "platform/runtime/Send.h"

#include <optional>
#include <string>

namespace lumetta {

// The calendar side of every message (the host's "Message" class): a message can be
// linked to one calendar to-do through its "lumettaICalUID" tag. These create, delete and
// show the linked to-do, and copy the to-do's state back into the message's tags; each tag
// change is saved to the message file as a single edit is.
class MessageCalendarCategory {
public:
    using Object = platform::runtime::Object;
    using Sel = platform::runtime::Sel;
    using Value = platform::Value;

    // Adds the methods below to "Message".
    static void load();

    // Makes a to-do from the arguments that are not null (a calendar name, a title, a due
    // date, a tag priority, notes) pointing at the message's file, adds a display alarm on
    // the due day when "lumettaSetAlarmWithDueDate" asks for one, and links the message to
    // it. A failed creation leaves the message unlinked.
    static void lumettaCreateNewICalToDoInCalendar(Object* self, Sel, Value calendar, Value title, Value date,
                                                   Value priority, Value notes);
    // Deletes the linked to-do and then the link. The link goes only once the calendar has
    // deleted the to-do or said there is no such to-do; otherwise it stays, so that the
    // to-do can still be found from the message. Returns why it stayed, or nothing.
    static std::optional<std::string> lumettaDeleteToDoInICalReportingProblem(Object* self, Sel);
    // The same, for callers that take the link away themselves.
    static void lumettaDeleteToDoInICal(Object* self, Sel);
    static void lumettaViewToDoInICal(Object* self, Sel);
    // Copies the linked to-do's title, priority, completion and due date into the tags.
    // Only the calendar's word that the to-do is not there unlinks the message; a calendar
    // that does not answer, or cannot read the to-do's file, leaves every tag as it is and
    // is returned as the problem. The priority is stored as decimal text here, and a to-do
    // without a due date leaves the message's due date alone.
    static std::optional<std::string> lumettaRefreshDataFromICalReportingProblem(Object* self, Sel);
    // The same, without the problem.
    static void lumettaRefreshDataFromICal(Object* self, Sel);
    // The linked to-do's properties as the calendar reports them; nothing when the message
    // is not linked or the to-do cannot be read. For the command line's `todo show`.
    static std::optional<platform::Dictionary> lumettaICalToDoProperties(Object* self, Sel);
};

// The selectors, as the host reaches them (it never links the plug-in).
namespace CalendarSelectors {
inline constexpr const char* kCreateToDo =
    "lumettaCreateNewICalToDoInCalendar:withTitle:date:priority:notes:";
inline constexpr const char* kDeleteToDo = "lumettaDeleteToDoInICal";
inline constexpr const char* kDeleteToDoReportingProblem = "lumettaDeleteToDoInICalReportingProblem";
inline constexpr const char* kViewToDo = "lumettaViewToDoInICal";
inline constexpr const char* kRefreshFromICal = "lumettaRefreshDataFromICal";
inline constexpr const char* kRefreshFromICalReportingProblem = "lumettaRefreshDataFromICalReportingProblem";
inline constexpr const char* kToDoProperties = "lumettaICalToDoProperties";
} // namespace CalendarSelectors

} // namespace lumetta
