#pragma once

#include "platform/foundation/Date.h"

#include <filesystem>

namespace bench {

// A calendar store as a refresh meets it: calendars "Work" and "Home" holding `count`
// to-dos that point at message files; the first `recentlyChanged` were written a minute
// after `lastRefresh`, the others a day before it. The files hold the store's own bytes,
// written without a flush each to keep the set-up short.
void fillLinkedToDoStore(const std::filesystem::path& root, int count, int recentlyChanged,
                         platform::Date lastRefresh);

} // namespace bench
