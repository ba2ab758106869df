#pragma once

#include <filesystem>
#include <string>

namespace calendarapp {

// One calendar of the store: a folder of item files. Its name comes from the folder's
// `displayname` file, or is the folder's own name where that file is missing.
struct Calendar {
    std::string name;
    std::filesystem::path folder;

    friend bool operator==(const Calendar&, const Calendar&) = default;
};

} // namespace calendarapp
