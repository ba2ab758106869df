#include "support/ChildProcesses.h"

#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace testsupport {

bool runInChildProcesses(int count, const std::function<int(int index)>& body) {
    std::vector<pid_t> children;
    bool allWell = true;
    for (int index = 0; index < count; ++index) {
        const pid_t child = ::fork();
        if (child == 0)
            ::_exit(body(index));
        if (child < 0)
            allWell = false;
        else
            children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = 0;
        allWell =
            ::waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0 && allWell;
    }
    return allWell;
}

} // namespace testsupport
