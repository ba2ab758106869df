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
// becomes now, unless the calendar did not list the changed to-dos or stopped answering
// during the re-reads, which ends the pass there and keeps the date, so the next pass
// lists the messages left over again. A failed query leaves the previous list in place.
// A message is unlinked only when the calendar says its to-do is not there; one whose
// to-do does not answer or cannot be read keeps its link and tags and is named among the
// problems.
class ICalRefreshPass {
public:
    // Posted after every pass the bundle runs, with object nil as the plug-in's other
    // notifications are, and the summary below as user info.
    static constexpr const char* kToDosWereRefreshed = "LUToDosWereRefreshed";

    // One pass with the bundle's long-lived refresher. The summary:
    //   "asked"    whether the calendar was asked at all, and "reason" when not;
    //   "trouble"  why the calendar's list of changed to-dos could not be had;
    //   "listed"   how many message identifiers the pass went through, "found" how many of
    //              them the library has, "left" how many were not re-read because the
    //              calendar stopped answering;
    //   "changes"  one dictionary per changed tag: "id" (library row), "key", and "old" /
    //              "new" where the tag had or has a value;
    //   "problems" one dictionary per message whose to-do could not be read: "id" and
    //              "problem" (the to-do's UID and why).
    static platform::Dictionary run(LumettaICalToDo& refresher);

    // Unlinks the messages whose to-do no longer exists. A pass hears only of to-dos
    // changed since the last one, and a to-do deleted in the calendar is never among them,
    // so its message would stay linked until something re-reads it. The sweep asks the
    // calendar for every to-do that points at a message file and the metadata index for
    // every linked message; each linked message the calendar does not list is re-read,
    // which unlinks it when its to-do is really gone. Nothing is re-read when either list
    // cannot be had. Same gate as a pass; the summary has "asked" and "reason" as there
    // ("trouble" true when the reason is the calendar's failure), "linked" (messages the
    // index holds as linked), "checked" (re-read), "left" (not re-read because the
    // calendar stopped answering), "changes" and "problems".
    static platform::Dictionary sweepVanished();

    // Re-reads the messages of these library rows into their tags, changed in the
    // calendar or not: "changes" and "problems" in the form of a pass's summary. Unknown
    // rows are passed over.
    static platform::Dictionary reread(const std::vector<std::int64_t>& rows);

    // Whether the calendar application answers events right now.
    static bool calendarRunning();
};

} // namespace lumetta
