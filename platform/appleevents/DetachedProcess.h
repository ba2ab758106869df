#pragma once

#include "platform/foundation/Result.h"

#include <filesystem>
#include <string>
#include <sys/types.h>
#include <vector>

namespace platform::appleevents {

// Starts programs that outlive the one starting them: a double fork, so the program is
// adopted by the system and never becomes this process's zombie, in a session of its own
// (setsid, no controlling terminal), with standard input and output on /dev/null, no
// other inherited descriptors, default signal handling, and "/" as working folder. The
// environment is passed on unchanged.
class DetachedProcess {
public:
    // The started program's process ID, once exec has succeeded; an error with the
    // reason exec failed (errno in Error::code) otherwise.
    [[nodiscard]] static Result<pid_t> spawn(const std::filesystem::path& executable,
                                             const std::vector<std::string>& arguments);
};

} // namespace platform::appleevents
