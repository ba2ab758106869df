#pragma once

#include <filesystem>

namespace testsupport {

// Ends every lumetta-calendar that was started with `runtimeFolder` as its
// XDG_RUNTIME_DIR (a stopped one is continued first) and waits until they are gone,
// killing what is left after five seconds; how many there were. A test's calendars are
// detached, so no test process reaps them, and one whose socket went with its folder can
// no longer be told to quit: this finds them by the folder a test gave them.
int stopCalendarsRunningIn(const std::filesystem::path& runtimeFolder);

} // namespace testsupport
