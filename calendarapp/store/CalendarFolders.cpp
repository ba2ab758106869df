#include "calendarapp/store/CalendarFolders.h"

#include "platform/foundation/AtomicFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace calendarapp {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kFolderNameLimit = 64;

std::string_view trimmed(std::string_view s) {
    const auto space = [](char c) {
        return c == ' ' || c == '\t' || c == '\r' || c == '\n';
    };
    while (!s.empty() && space(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && space(s.back()))
        s.remove_suffix(1);
    return s;
}

std::string nameOf(const fs::path& folder) {
    auto text = platform::AtomicFile::read(folder / "displayname");
    if (text) {
        const auto name = trimmed(text.value());
        if (!name.empty())
            return std::string(name);
    }
    return folder.filename().string();
}

platform::Error systemError(const std::string& what, const fs::path& path, int err) {
    return platform::makeError(what + " " + path.string() + ": " + std::strerror(err), err);
}

} // namespace

platform::Result<std::vector<Calendar>> CalendarFolders::list() const {
    std::vector<Calendar> calendars;
    std::error_code ec;
    if (!fs::exists(root_, ec))
        return calendars;
    fs::directory_iterator it(root_, ec);
    if (ec)
        return systemError("cannot read the calendars in", root_, ec.value());
    for (const auto& entry : it) {
        const std::string folderName = entry.path().filename().string();
        if (folderName.starts_with(".") || !entry.is_directory(ec))
            continue;
        calendars.push_back(Calendar{nameOf(entry.path()), entry.path()});
    }
    std::sort(calendars.begin(), calendars.end(), [](const Calendar& a, const Calendar& b) {
        return a.name != b.name ? a.name < b.name : a.folder < b.folder;
    });
    return calendars;
}

platform::Result<Calendar> CalendarFolders::find(std::string_view name) const {
    auto calendars = LUMETTA_TRY(list());
    for (const Calendar& calendar : calendars)
        if (calendar.name == name)
            return calendar;
    return platform::makeError("no calendar named \"" + std::string(name) + "\"", ENOENT);
}

std::string CalendarFolders::folderNameFor(std::string_view name) {
    std::string folder;
    for (const char c : name) {
        if ((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_')
            folder += c;
        else if (c >= 'A' && c <= 'Z')
            folder += static_cast<char>(c - 'A' + 'a');
        else if (!folder.empty() && folder.back() != '-')
            folder += '-';
        if (folder.size() >= kFolderNameLimit)
            break;
    }
    while (!folder.empty() && folder.back() == '-')
        folder.pop_back();
    return folder.empty() ? "calendar" : folder;
}

platform::Result<Calendar> CalendarFolders::create(std::string_view requested) {
    const auto name = trimmed(requested);
    if (name.empty())
        return platform::makeError("a calendar needs a name", EINVAL);
    for (const char c : name)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            return platform::makeError("a calendar name cannot hold control characters or line breaks",
                                       EINVAL);
    if (auto existing = find(name))
        return platform::makeError("a calendar named \"" + std::string(name) + "\" exists already", EEXIST);
    else if (existing.error().code != ENOENT)
        return existing.error();

    std::error_code ec;
    fs::create_directories(root_, ec);
    if (ec)
        return systemError("cannot create the calendar folder", root_, ec.value());
    LUMETTA_TRY_VOID(checkWritable(root_));
    const std::string base = folderNameFor(name);
    for (int attempt = 1; attempt <= 1000; ++attempt) {
        const fs::path folder = root_ / (attempt == 1 ? base : base + "-" + std::to_string(attempt));
        if (::mkdir(folder.c_str(), 0700) != 0) {
            if (errno == EEXIST)
                continue;
            return systemError("cannot create the calendar folder", folder, errno);
        }
        if (auto written = platform::AtomicFile::write(folder / "displayname", name); !written) {
            fs::remove_all(folder, ec);
            return written.error();
        }
        return Calendar{std::string(name), folder};
    }
    return platform::makeError("no free folder name for the calendar \"" + std::string(name) + "\"", EEXIST);
}

platform::Result<std::vector<fs::path>> CalendarFolders::itemFiles(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code ec;
    fs::directory_iterator it(folder, ec);
    if (ec)
        return systemError("cannot read the calendar folder", folder, ec.value());
    for (const auto& entry : it) {
        const std::string fileName = entry.path().filename().string();
        if (fileName.starts_with(".") || !fileName.ends_with(".ics") || fileName.size() == 4 ||
            !entry.is_regular_file(ec))
            continue;
        files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end(),
              [](const fs::path& a, const fs::path& b) { return a.native() < b.native(); });
    return files;
}

platform::Result<void> CalendarFolders::checkWritable(const fs::path& folder) {
    struct stat info {};
    if (::stat(folder.c_str(), &info) != 0)
        return systemError("cannot look at", folder, errno);
    if ((info.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0)
        return platform::makeError(folder.string() + " is read-only: nothing in it is changed", EACCES);
    return {};
}

} // namespace calendarapp
