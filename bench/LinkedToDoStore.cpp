#include "LinkedToDoStore.h"

#include "calendarapp/store/ToDoEditor.h"
#include "calendarapp/store/ToDoStore.h"
#include "calendarapp/store/ToDoUid.h"

#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>

namespace bench {

using namespace calendarapp;
namespace fs = std::filesystem;

void fillLinkedToDoStore(const fs::path& root, int count, int recentlyChanged, platform::Date lastRefresh) {
    ToDoStore store(root);
    (void)store.createCalendar("Work");
    (void)store.createCalendar("Home");
    const platform::ScopedFixedClock clock(lastRefresh.addingSeconds(-86400.0 * 30));
    for (int i = 0; i < count; ++i) {
        ToDoProperties properties;
        properties.summary = "Reply to message " + std::to_string(i) + ": quarterly figures";
        properties.description = "Annotation of the message, a sentence or two long.";
        properties.url =
            "message:///Users/anna/Library/Mail/INBOX.mbox/Messages/" + std::to_string(100000 + i) + ".emlx";
        properties.dueDate = lastRefresh.addingSeconds(86400.0 * (i % 60));
        properties.priority = i % 3 == 0 ? 1 : 5;
        const Calendar calendar = store.findCalendar(i % 4 == 0 ? "Home" : "Work").value();
        const std::string uid = ToDoUid::generate();
        const fs::path file = calendar.folder / (uid + ".ics");
        std::ofstream(file, std::ios::binary)
            << ToDoEditor::compose(uid, properties, platform::Clock::now()).value();
        const double changed =
            i < recentlyChanged ? lastRefresh.unixSeconds() + 60.0 : lastRefresh.unixSeconds() - 86400.0;
        const timespec when{static_cast<time_t>(changed), 0};
        const timespec times[2] = {when, when};
        ::utimensat(AT_FDCWD, file.c_str(), times, 0);
    }
}

} // namespace bench
