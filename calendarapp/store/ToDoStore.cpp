#include "calendarapp/store/ToDoStore.h"

#include "calendarapp/store/ItemFile.h"
#include "calendarapp/store/ToDoCache.h"
#include "calendarapp/store/ToDoEditor.h"
#include "calendarapp/store/ToDoUid.h"
#include "platform/foundation/AtomicFile.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace calendarapp {

namespace fs = std::filesystem;
using platform::Result;

namespace {

// Changes that find the file changed under them start again from the new version; a
// file that keeps changing faster than that is reported rather than overwritten.
constexpr int kChangeAttempts = 3;

Result<void> checkFileWritable(const FileIdentity& identity, const fs::path& file) {
    if (!identity.writable())
        return platform::makeError(file.string() + " is read-only: the to-do is not changed", EACCES);
    return {};
}

// Writes the new version atomically with the old version's permissions, so a calendar
// shared with a group stays readable to it.
Result<void> replace(const fs::path& file, const std::string& bytes, const FileIdentity& old) {
    auto written = platform::AtomicFile::write(file, bytes);
    if (written)
        ::chmod(file.c_str(), static_cast<mode_t>(old.mode & 07777));
    return written;
}

} // namespace

ToDoStore::ToDoStore(fs::path root) : folders_(std::move(root)), cache_(std::make_unique<ToDoCache>()) {}
ToDoStore::~ToDoStore() = default;
ToDoStore::ToDoStore(ToDoStore&&) noexcept = default;
ToDoStore& ToDoStore::operator=(ToDoStore&&) noexcept = default;

fs::path ToDoStore::defaultRoot() {
    const char* dataHome = std::getenv("XDG_DATA_HOME");
    if (dataHome != nullptr && dataHome[0] == '/')
        return fs::path(dataHome) / "calendars";
    const char* home = std::getenv("HOME");
    if (home == nullptr || home[0] == '\0') {
        const passwd* user = ::getpwuid(::getuid());
        home = user != nullptr ? user->pw_dir : "/";
    }
    return fs::path(home) / ".local" / "share" / "calendars";
}

Result<std::vector<Calendar>> ToDoStore::calendars() const {
    return folders_.list();
}

Result<Calendar> ToDoStore::findCalendar(std::string_view name) const {
    return folders_.find(name);
}

Result<Calendar> ToDoStore::createCalendar(std::string_view name) {
    return folders_.create(name);
}

Result<ToDo> ToDoStore::load(const fs::path& file, const Calendar& calendar) const {
    auto toDo = cache_->load(file);
    if (toDo)
        toDo.value().calendar = calendar;
    return toDo;
}

Result<ToDoListing> ToDoStore::toDos(const Calendar& calendar) const {
    auto files = CalendarFolders::itemFiles(calendar.folder);
    if (!files)
        return files.error();
    ToDoListing listing;
    listing.toDos.reserve(files.value().size());
    for (const fs::path& file : files.value()) {
        auto toDo = load(file, calendar);
        if (toDo)
            listing.toDos.push_back(std::move(toDo.value()));
        else
            listing.skipped.push_back(toDo.error());
    }
    cache_->keepOnly(calendar.folder, files.value());
    return listing;
}

Result<ToDoListing> ToDoStore::allToDos() const {
    auto calendarList = calendars();
    if (!calendarList)
        return calendarList.error();
    ToDoListing all;
    for (const Calendar& calendar : calendarList.value()) {
        auto listing = toDos(calendar);
        if (!listing) {
            all.skipped.push_back(listing.error());
            continue;
        }
        std::move(listing.value().toDos.begin(), listing.value().toDos.end(), std::back_inserter(all.toDos));
        std::move(listing.value().skipped.begin(), listing.value().skipped.end(),
                  std::back_inserter(all.skipped));
    }
    return all;
}

Result<ToDoListing> ToDoStore::toDosModifiedSince(platform::Date date) const {
    auto calendarList = calendars();
    if (!calendarList)
        return calendarList.error();
    ToDoListing changed;
    for (const Calendar& calendar : calendarList.value()) {
        auto files = CalendarFolders::itemFiles(calendar.folder);
        if (!files) {
            changed.skipped.push_back(files.error());
            continue;
        }
        for (const fs::path& file : files.value()) {
            auto toDo = cache_->loadIfChangedAfter(file, date);
            if (!toDo) {
                changed.skipped.push_back(toDo.error());
            } else if (toDo.value()) {
                toDo.value()->calendar = calendar;
                changed.toDos.push_back(std::move(*toDo.value()));
            }
        }
        cache_->keepOnly(calendar.folder, files.value());
    }
    return changed;
}

Result<ToDo> ToDoStore::findToDo(std::string_view uid) const {
    auto calendarList = calendars();
    if (!calendarList)
        return calendarList.error();
    // Files are named after their UID when this store or most other programs make them;
    // only a UID that is not found that way costs a look at every file.
    const std::string quoted = "\"" + std::string(uid) + "\"";
    if (ToDoUid::isSafeFileName(uid)) {
        for (const Calendar& calendar : calendarList.value()) {
            const fs::path file = calendar.folder / (std::string(uid) + ".ics");
            std::error_code ec;
            if (!fs::is_regular_file(file, ec))
                continue;
            auto toDo = load(file, calendar);
            if (toDo && toDo.value().uid == uid)
                return toDo;
            if (!toDo && toDo.error().code == EBADMSG)
                return platform::makeError("the to-do " + quoted + " cannot be read: " + toDo.error().message,
                                           EBADMSG);
        }
    }
    // "No such to-do" is an answer clients act on (a message loses its link to it), so it
    // is given only when every item file could be read: a damaged one may hold the UID.
    std::vector<platform::Error> unreadable;
    for (const Calendar& calendar : calendarList.value()) {
        auto listing = toDos(calendar);
        if (!listing) {
            unreadable.push_back(listing.error());
            continue;
        }
        for (ToDo& toDo : listing.value().toDos)
            if (toDo.uid == uid)
                return std::move(toDo);
        // A file removed between listing the folder and reading it held no to-do.
        for (platform::Error& skipped : listing.value().skipped)
            if (skipped.code != ENOENT)
                unreadable.push_back(std::move(skipped));
    }
    if (!unreadable.empty())
        return platform::makeError("no readable to-do has the UID " + quoted + ", but " +
                                       std::to_string(unreadable.size()) +
                                       (unreadable.size() == 1 ? " item cannot be read and may hold it: "
                                                               : " items cannot be read and may hold it, "
                                                                 "the first: ") +
                                       unreadable.front().message,
                                   EBADMSG);
    return platform::makeError("no to-do with the UID " + quoted, ENOENT);
}

Result<ToDo> ToDoStore::createToDo(std::string_view calendarName, const ToDoProperties& properties) {
    auto calendar = findCalendar(calendarName);
    if (!calendar)
        return calendar.error();
    if (auto writable = CalendarFolders::checkWritable(calendar.value().folder); !writable)
        return writable.error();
    auto calendarList = calendars();
    if (!calendarList)
        return calendarList.error();
    std::string uid;
    const auto taken = [&calendarList](const std::string& candidate) {
        std::error_code ec;
        for (const Calendar& other : calendarList.value())
            if (fs::exists(other.folder / (candidate + ".ics"), ec))
                return true;
        return false;
    };
    do
        uid = ToDoUid::generate();
    while (taken(uid));
    auto bytes = ToDoEditor::compose(uid, properties, platform::Clock::now());
    if (!bytes)
        return bytes.error();
    const fs::path file = calendar.value().folder / (uid + ".ics");
    if (auto written = platform::AtomicFile::write(file, bytes.value()); !written)
        return written.error();
    return load(file, calendar.value());
}

Result<ToDo> ToDoStore::change(std::string_view uid, const Edit& edit) {
    for (int attempt = 0; attempt < kChangeAttempts; ++attempt) {
        auto toDo = findToDo(uid);
        if (!toDo)
            return toDo.error();
        const fs::path file = toDo.value().file;
        if (auto writable = CalendarFolders::checkWritable(toDo.value().calendar.folder); !writable)
            return writable.error();
        auto contents = ItemFile::read(file);
        if (!contents && contents.error().code == ENOENT)
            continue; // moved or deleted since it was found: look again
        if (!contents)
            return contents.error();
        if (auto writable = checkFileWritable(contents.value().identity, file); !writable)
            return writable.error();
        auto editor = ToDoEditor::open(contents.value().bytes);
        if (!editor)
            return platform::makeError(file.string() + " is not a readable to-do: " + editor.error().message,
                                       EBADMSG);
        if (auto edited = edit(editor.value()); !edited)
            return edited.error();
        // An unchanged to-do keeps its file and stamp, so the next modified-since query
        // does not list it again.
        if (!editor.value().changed())
            return std::move(toDo.value());
        editor.value().touch(platform::Clock::now());
        auto bytes = editor.value().finish();
        if (!bytes)
            return bytes.error();
        // Another program may have written the file since it was read: start again from
        // its version rather than overwrite its change.
        auto current = ItemFile::identify(file);
        if (!current || !(current.value() == contents.value().identity))
            continue;
        if (auto written = replace(file, bytes.value(), contents.value().identity); !written)
            return written.error();
        return load(file, toDo.value().calendar);
    }
    return platform::makeError(
        "the to-do \"" + std::string(uid) + "\" kept changing while it was being changed", EAGAIN);
}

Result<ToDo> ToDoStore::setSummary(std::string_view uid, const std::optional<std::string>& summary) {
    return change(uid, [&](ToDoEditor& editor) { return editor.setSummary(summary); });
}

Result<ToDo> ToDoStore::setDescription(std::string_view uid, const std::optional<std::string>& description) {
    return change(uid, [&](ToDoEditor& editor) { return editor.setDescription(description); });
}

Result<ToDo> ToDoStore::setUrl(std::string_view uid, const std::optional<std::string>& url) {
    return change(uid, [&](ToDoEditor& editor) { return editor.setUrl(url); });
}

Result<ToDo> ToDoStore::setDueDate(std::string_view uid, std::optional<platform::Date> due) {
    return change(uid, [&](ToDoEditor& editor) { return editor.setDueDate(due); });
}

Result<ToDo> ToDoStore::setCompletionDate(std::string_view uid, std::optional<platform::Date> completed) {
    return change(uid, [&](ToDoEditor& editor) { return editor.setCompletionDate(completed); });
}

Result<ToDo> ToDoStore::setPriority(std::string_view uid, int priority) {
    return change(uid, [&](ToDoEditor& editor) { return editor.setPriority(priority); });
}

Result<ToDo> ToDoStore::addDisplayAlarm(std::string_view uid, platform::Date trigger) {
    return change(uid, [&](ToDoEditor& editor) { return editor.addDisplayAlarm(trigger); });
}

Result<ToDo> ToDoStore::moveDisplayAlarm(std::string_view uid, std::size_t index, platform::Date trigger) {
    return change(uid, [&](ToDoEditor& editor) { return editor.moveDisplayAlarm(index, trigger); });
}

Result<ToDo> ToDoStore::moveToDo(std::string_view uid, std::string_view calendarName) {
    auto target = findCalendar(calendarName);
    if (!target)
        return target.error();
    auto toDo = findToDo(uid);
    if (!toDo)
        return toDo.error();
    const Calendar& source = toDo.value().calendar;
    if (source.folder == target.value().folder)
        return toDo;
    for (const fs::path& folder : {source.folder, target.value().folder})
        if (auto writable = CalendarFolders::checkWritable(folder); !writable)
            return writable.error();
    const fs::path from = toDo.value().file;
    const fs::path to = target.value().folder / from.filename();
    std::error_code ec;
    if (fs::exists(to, ec))
        return platform::makeError(to.string() + " exists already: the to-do is not moved", EEXIST);
    auto contents = ItemFile::read(from);
    if (!contents)
        return contents.error();
    if (auto writable = checkFileWritable(contents.value().identity, from); !writable)
        return writable.error();
    auto editor = ToDoEditor::open(contents.value().bytes);
    if (!editor)
        return platform::makeError(from.string() + " is not a readable to-do: " + editor.error().message,
                                   EBADMSG);
    editor.value().touch(platform::Clock::now());
    auto bytes = editor.value().finish();
    if (!bytes)
        return bytes.error();
    // The copy is complete before the original goes, so a crash in between leaves the
    // to-do twice rather than not at all.
    if (auto written = replace(to, bytes.value(), contents.value().identity); !written)
        return written.error();
    if (::unlink(from.c_str()) != 0 && errno != ENOENT) {
        const int err = errno;
        ::unlink(to.c_str());
        return platform::makeError("cannot remove " + from.string() + ": " + std::strerror(err), err);
    }
    return load(to, target.value());
}

Result<void> ToDoStore::deleteToDo(std::string_view uid) {
    auto toDo = findToDo(uid);
    if (!toDo)
        return toDo.error();
    const fs::path& file = toDo.value().file;
    if (auto writable = CalendarFolders::checkWritable(toDo.value().calendar.folder); !writable)
        return writable.error();
    auto identity = ItemFile::identify(file);
    if (identity)
        if (auto writable = checkFileWritable(identity.value(), file); !writable)
            return writable.error();
    if (::unlink(file.c_str()) != 0 && errno != ENOENT)
        return platform::makeError("cannot delete " + file.string() + ": " + std::strerror(errno), errno);
    return {};
}

} // namespace calendarapp
