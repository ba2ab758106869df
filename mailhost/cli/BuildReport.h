#pragma once

#include <filesystem>
#include <string>

namespace mailhost {

// A short account of what this build contains and what it can read of a mail
// library: the first job the command line runs on a library, before the host's own
// library code exists.
class BuildReport {
public:
    static std::string versionLine();
    // Lists the built parts and, for the library at `root`, its mailboxes and how many
    // message files carry a readable property-list tail.
    static std::string describe(const std::filesystem::path& root);
};

} // namespace mailhost
