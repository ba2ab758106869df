#pragma once

#include "lumetta/calendar/LumettaICalToDo.h"
#include "platform/foundation/Array.h"
#include "platform/foundation/Dictionary.h"

#include <cstdint>
#include <vector>

namespace lumetta {

// One refresh from the calendar: the to-dos changed since the last refresh that point at
// message files are listed, and each of those messages re-reads its to-do into its tags.
// Runs only when refreshing is on ("lumettaRefreshFromICal") and the calendar runs or may
// be started for it ("lumettaOpenICalToRefresh"); then "lumettaLastICalRefreshDate"
// becomes now, also when the calendar did not answer. A failed query leaves the previous
// list in place, so the next pass re-reads those messages again. A calendar that stops
// answering during the re-reads ends the pass there and keeps the date, so the next pass
// lists the messages left over again.
class ICalRefreshPass {
public:
    // Posted after every pass the bundle runs, with object nil as the plug-in's other
    // notifications are, and the summary below as user info.
    static constexpr const char* kToDosWereRefreshed = "LUToDosWereRefreshed";

    // One pass with the bundle's long-lived refresher. The summary:
    //   "asked"   whether the calendar was asked at all, and "reason" when not;
    //   "listed"  how many message identifiers the pass went through, "found" how many of
    //             them the library has, "left" how many were not re-read because the
    //             calendar stopped answering;
    //   "changes" one dictionary per changed tag: "id" (library row), "key", and "old" /
    //             "new" where the tag had or has a value.
    static platform::Dictionary run(LumettaICalToDo& refresher);

    // Unlinks the messages whose to-do no longer exists. A pass hears only of to-dos
    // changed since the last one, and a to-do deleted in the calendar is never among them,
    // so its message would stay linked until something re-reads it. The sweep asks the
    // calendar for every to-do that points at a message file and the metadata index for
    // every linked message; each linked message the calendar does not list is re-read,
    // which unlinks it when its to-do is really gone. Nothing is re-read when either list
    // cannot be had. Same gate as a pass; the summary has "asked" and "reason" as there,
    // "linked" (messages the index holds as linked), "checked" (re-read) and "changes".
    static platform::Dictionary sweepVanished();

    // Re-reads the messages of these library rows into their tags, changed in the
    // calendar or not; the changes in the form of a pass's summary. Unknown rows are
    // passed over.
    static platform::Array reread(const std::vector<std::int64_t>& rows);

    // Whether the calendar application answers events right now.
    static bool calendarRunning();
};

} // namespace lumetta
