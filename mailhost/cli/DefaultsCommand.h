#pragma once

#include "platform/foundation/UserDefaults.h"

#include <ostream>
#include <string>
#include <vector>

namespace mailhost {

// `lumetta defaults read [KEY]`, `write KEY [-int|-bool|-string|-array] VALUE...` and
// `delete KEY` on the host's standard defaults. Returns the exit status.
class DefaultsCommand {
public:
    static int read(platform::UserDefaults& defaults, const std::string& key, std::ostream& out,
                    std::ostream& err);
    static int write(platform::UserDefaults& defaults, const std::string& key,
                     const std::vector<std::string>& words, std::ostream& err);
    static int remove(platform::UserDefaults& defaults, const std::string& key, std::ostream& err);
};

} // namespace mailhost
