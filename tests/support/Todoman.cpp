#include "support/Todoman.h"

#include "support/MessageFileSupport.h"

#include <cstdlib>

namespace testsupport {

namespace fs = std::filesystem;

bool Todoman::installed() {
    return std::system("command -v todoman >/dev/null 2>&1") == 0;
}

Todoman::Todoman(const fs::path& store, const std::string& filesPrefix, const std::string& defaultList)
    : config_(filesPrefix + "-todoman.py"), cache_(filesPrefix + "-todoman.sqlite3") {
    writeBytes(config_, "path = \"" + store.string() + "/*\"\n" +
                            "date_format = \"%Y-%m-%d\"\ntime_format = \"%H:%M\"\n"
                            "default_list = \"" +
                            defaultList + "\"\ndefault_due = 0\n" + "cache_path = \"" + cache_.string() +
                            "\"\n");
}

Todoman::~Todoman() {
    std::error_code ignored;
    fs::remove(config_, ignored);
    fs::remove(cache_, ignored);
}

CommandOutput Todoman::run(const std::string& arguments, const std::string& environment) const {
    return runCommand(environment + " todoman --config '" + config_.string() + "' " + arguments);
}

} // namespace testsupport
