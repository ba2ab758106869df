#pragma once

#include "lumetta/calendar/LumettaICalToDo.h"
#include "platform/foundation/Dictionary.h"

namespace lumetta {

// One refresh from the calendar: the to-dos changed since the last refresh that point at
// message files are listed, and each of those messages re-reads its to-do into its tags.
// Runs only when refreshing is on ("lumettaRefreshFromICal") and the calendar runs or may
// be started for it ("lumettaOpenICalToRefresh"); then "lumettaLastICalRefreshDate"
// becomes now, also when the calendar did not answer. A failed query leaves the previous
// list in place, so the next pass re-reads those messages again.
class ICalRefreshPass {
public:
    // Posted after every pass the bundle runs, with the summary below as user info.
    static constexpr const char* kDidFinishNotification = "LumettaICalRefreshDidFinish";

    // One pass with the bundle's long-lived refresher. The summary:
    //   "asked"   whether the calendar was asked at all, and "reason" when not;
    //   "listed"  how many message identifiers the pass went through, "found" how many of
    //             them the library has;
    //   "changes" one dictionary per changed tag: "id" (library row), "key", and "old" /
    //             "new" where the tag had or has a value.
    static platform::Dictionary run(LumettaICalToDo& refresher);

    // Whether the calendar application answers events right now.
    static bool calendarRunning();
};

} // namespace lumetta
