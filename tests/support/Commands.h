#pragma once

#include <string>

namespace testsupport {

// What a shell command printed (standard output and error together) and its exit status
// (-1 when it could not be run or did not exit).
struct CommandOutput {
    int status = -1;
    std::string text;
};
CommandOutput runCommand(const std::string& command);

} // namespace testsupport
