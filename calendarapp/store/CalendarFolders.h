#pragma once

#include "calendarapp/store/Calendar.h"
#include "platform/foundation/Result.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace calendarapp {

// The calendars of a vdir store: the visible sub-folders of the root, each named by its
// `displayname` file. The folders are read on every call, so a calendar another program
// adds, renames or removes shows at once.
class CalendarFolders {
public:
    explicit CalendarFolders(std::filesystem::path root) : root_(std::move(root)) {}

    const std::filesystem::path& root() const { return root_; }

    // Sorted by name, then folder. A missing root holds no calendars.
    platform::Result<std::vector<Calendar>> list() const;
    // The first calendar with exactly this name (ENOENT when there is none).
    platform::Result<Calendar> find(std::string_view name) const;
    // Makes the folder (named after the calendar, see folderNameFor) and its displayname.
    // Fails with EEXIST when a calendar has the name, EINVAL for an empty name or one with
    // control characters (a displayname is one line).
    platform::Result<Calendar> create(std::string_view name);

    // The folder name a calendar name starts from: lower-case ASCII letters and digits,
    // "-" and "_", everything else as "-", at most 64 bytes, "calendar" when nothing is
    // left. Unique names get "-2", "-3", ... on creation.
    static std::string folderNameFor(std::string_view name);

    // The item files of a calendar folder, sorted: plain files ending in ".ics" that are
    // not hidden. Temporary files (".tmp"), files without an extension and metadata such
    // as `displayname` are not items.
    static platform::Result<std::vector<std::filesystem::path>>
    itemFiles(const std::filesystem::path& folder);

    // Fails with EACCES when the folder has no write permission bit. Checked before every
    // change, so a folder the user marked read-only is left alone even by a user who
    // could write there anyway.
    static platform::Result<void> checkWritable(const std::filesystem::path& folder);

private:
    std::filesystem::path root_;
};

} // namespace calendarapp
