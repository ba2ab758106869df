#pragma once

#include "platform/foundation/Result.h"

#include <chrono>
#include <string>
#include <vector>

namespace mailhost {

// The program a rule runs on the messages it matched: started directly (no shell, so
// nothing in a file name is ever interpreted), with the message files' paths as its
// arguments, its input empty and its output discarded (its error output is the
// user's). A program that runs longer than the limit is killed: rules run on arriving
// mail, which must not wait on a hung script.
class RuleScript {
public:
    static constexpr std::chrono::milliseconds kTimeLimit{30000};
    // At most this many paths per run; more messages run the program again.
    static constexpr std::size_t kPathsPerRun = 500;

    // Succeeds when every run exits with status 0; otherwise says what went wrong
    // (not found, not executable, exit status, signal, time limit).
    [[nodiscard]] static platform::Result<void> run(const std::string& program,
                                                    const std::vector<std::string>& paths,
                                                    std::chrono::milliseconds limit = kTimeLimit);
};

} // namespace mailhost
