#pragma once

#include <functional>

namespace testsupport {

// Runs `body` in `count` child processes at once, each given its index, and waits for
// them all: for what separate programs do to the same files at the same moment. True
// when every child returned 0. Children end with _exit, so they run no test teardown.
bool runInChildProcesses(int count, const std::function<int(int index)>& body);

} // namespace testsupport
