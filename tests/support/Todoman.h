#pragma once

#include "support/Commands.h"

#include <filesystem>
#include <string>

namespace testsupport {

// todoman, a to-do program no one here wrote, pointed at one calendar store through a
// configuration of its own. The configuration and todoman's cache are kept at
// `filesPrefix` + "-todoman.py" / "-todoman.sqlite3" and removed with this object.
class Todoman {
public:
    // The reason to give a test that skips because todoman is missing.
    static constexpr const char* kMissing =
        "todoman is not installed (apt-get install todoman): interoperability not checked";
    static bool installed();

    Todoman(const std::filesystem::path& store, const std::string& filesPrefix,
            const std::string& defaultList);
    ~Todoman();
    Todoman(const Todoman&) = delete;
    Todoman& operator=(const Todoman&) = delete;

    // todoman with `arguments`, and `environment` (NAME=value ...) set for it.
    CommandOutput run(const std::string& arguments, const std::string& environment = {}) const;

private:
    std::filesystem::path config_;
    std::filesystem::path cache_;
};

} // namespace testsupport
