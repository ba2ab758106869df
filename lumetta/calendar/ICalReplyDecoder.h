#pragma once

#include "platform/appleevents/AppleEvent.h"
#include "platform/foundation/Dictionary.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumetta {

// What the calendar client reads out of the calendar's replies. Replies that are not
// of the expected shape read as "nothing": the calendar's answers decide what happens,
// never a reply's bytes.
class ICalReplyDecoder {
public:
    using AEDesc = platform::appleevents::AEDesc;
    using AppleEvent = platform::appleevents::AppleEvent;

    // The first object specifier in the list the reply's direct object holds (the answer
    // to a test query); nullopt when the direct object is no list or holds none.
    static std::optional<AEDesc> firstObject(const AppleEvent& reply);
    // Whether the answer to a test query is a list of nothing: the calendar's word that no
    // object passed the test. Anything else (no list, no answer) says nothing of the kind.
    static bool listsNothing(const AppleEvent& reply);
    // The calendar's own words for the error a reply carries ("errs", else its number);
    // nullopt for a reply without an error.
    static std::optional<std::string> errorOf(const AppleEvent& reply);
    // Whether the reply's error says the object asked about is not there.
    static bool saysNoSuchObject(const AppleEvent& reply);
    // The reply's direct object as text, nullopt without one or when it is not text.
    static std::optional<std::string> directString(const AppleEvent& reply);

    // A to-do's properties from the reply to an all-properties query, in the tag-side
    // form: "priority" always (tag scale, 0 without one), "completionDate" and "dueDate"
    // when they are dates that convert, "summary", "description", "url" and "uid" when
    // they are text. nullopt when the direct object is no record.
    static std::optional<platform::Dictionary> toDoProperties(const AppleEvent& reply);

    // The to-dos a modified-since query found: each object specifier of the listed items,
    // and of lists nested one level down, in order.
    static std::vector<AEDesc> listedToDos(const AppleEvent& reply);

    // Whether a count reply says there is no display alarm yet: a direct object whose
    // text reads as the number 0 (text that is no number reads as 0 as well). No direct
    // object at all is no such answer.
    static bool countsNoAlarm(const AppleEvent& reply);

    // The message a to-do's url points at: the url's last path component without its
    // extension, so ".../Messages/4711.emlx" gives "4711".
    static std::string messageIdentifier(std::string_view url);
};

} // namespace lumetta
