#include "support/Commands.h"

#include <cstdio>
#include <sys/wait.h>

namespace testsupport {

CommandOutput runCommand(const std::string& command) {
    CommandOutput result;
    FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
    if (!pipe)
        return result;
    char buffer[4096];
    while (const std::size_t n = std::fread(buffer, 1, sizeof buffer, pipe))
        result.text.append(buffer, n);
    const int status = ::pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

} // namespace testsupport
