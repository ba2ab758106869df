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
    auto files = LUMETTA_TRY(CalendarFolders::itemFiles(calendar.folder));
    ToDoListing listing;
    listing.toDos.reserve(files.size());
    for (const fs::path& file : files) {
        auto toDo = load(file, calendar);
        if (toDo)
            listing.toDos.push_back(std::move(toDo.value()));
        else
            listing.skipped.push_back(toDo.error());
    }
    cache_->keepOnly(calendar.folder, files);
    return listing;
}

Result<ToDoListing> ToDoStore::allToDos() const {
    auto calendarList = LUMETTA_TRY(calendars());
    ToDoListing all;
    for (const Calendar& calendar : calendarList) {
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
    auto calendarList = LUMETTA_TRY(calendars());
    ToDoListing changed;
    for (const Calendar& calendar : calendarList) {
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
    auto calendarList = LUMETTA_TRY(calendars());
    // Files are named after their UID when this store or most other programs make them;
    // only a UID that is not found that way costs a look at every file.
    const std::string quoted = "\"" + std::string(uid) + "\"";
    if (ToDoUid::isSafeFileName(uid)) {
        for (const Calendar& calendar : calendarList) {
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
    for (const Calendar& calendar : calendarList) {
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
    auto calendar = LUMETTA_TRY(findCalendar(calendarName));
    LUMETTA_TRY_VOID(CalendarFolders::checkWritable(calendar.folder));
    const auto calendarList = LUMETTA_TRY(calendars());
    std::string uid;
    const auto taken = [&calendarList](const std::string& candidate) {
        std::error_code ec;
        for (const Calendar& other : calendarList)
            if (fs::exists(other.folder / (candidate + ".ics"), ec))
                return true;
        return false;
    };
    do
        uid = ToDoUid::generate();
    while (taken(uid));
    auto bytes = LUMETTA_TRY(ToDoEditor::compose(uid, properties, platform::Clock::now()));
    const fs::path file = calendar.folder / (uid + ".ics");
    LUMETTA_TRY_VOID(platform::AtomicFile::write(file, bytes));
    return load(file, calendar);
}

Result<ToDo> ToDoStore::change(std::string_view uid, const Edit& edit) {
    for (int attempt = 0; attempt < kChangeAttempts; ++attempt) {
        auto toDo = LUMETTA_TRY(findToDo(uid));
        const fs::path file = toDo.file;
        LUMETTA_TRY_VOID(CalendarFolders::checkWritable(toDo.calendar.folder));
        auto contents = ItemFile::read(file);
        if (!contents && contents.error().code == ENOENT)
            continue; // moved or deleted since it was found: look again
        if (!contents)
            return contents.error();
        LUMETTA_TRY_VOID(checkFileWritable(contents.value().identity, file));
        auto editor = ToDoEditor::open(contents.value().bytes);
        if (!editor)
            return platform::makeError(file.string() + " is not a readable to-do: " + editor.error().message,
                                       EBADMSG);
        LUMETTA_TRY_VOID(edit(editor.value()));
        // An unchanged to-do keeps its file and stamp, so the next modified-since query
        // does not list it again.
        if (!editor.value().changed())
            return toDo;
        editor.value().touch(platform::Clock::now());
        auto bytes = LUMETTA_TRY(editor.value().finish());
        // Another program may have written the file since it was read: start again from
        // its version rather than overwrite its change.
        auto current = ItemFile::identify(file);
        if (!current || !(current.value() == contents.value().identity))
            continue;
        LUMETTA_TRY_VOID(replace(file, bytes, contents.value().identity));
        return load(file, toDo.calendar);
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
    auto target = LUMETTA_TRY(findCalendar(calendarName));
    auto toDo = LUMETTA_TRY(findToDo(uid));
    const Calendar& source = toDo.calendar;
    if (source.folder == target.folder)
        return toDo;
    for (const fs::path& folder : {source.folder, target.folder})
        LUMETTA_TRY_VOID(CalendarFolders::checkWritable(folder));
    const fs::path from = toDo.file;
    const fs::path to = target.folder / from.filename();
    std::error_code ec;
    if (fs::exists(to, ec))
        return platform::makeError(to.string() + " exists already: the to-do is not moved", EEXIST);
    auto contents = LUMETTA_TRY(ItemFile::read(from));
    LUMETTA_TRY_VOID(checkFileWritable(contents.identity, from));
    auto editor = ToDoEditor::open(contents.bytes);
    if (!editor)
        return platform::makeError(from.string() + " is not a readable to-do: " + editor.error().message,
                                   EBADMSG);
    editor.value().touch(platform::Clock::now());
    auto bytes = LUMETTA_TRY(editor.value().finish());
    // The copy is complete before the original goes, so a crash in between leaves the
    // to-do twice rather than not at all.
    LUMETTA_TRY_VOID(replace(to, bytes, contents.identity));
    if (::unlink(from.c_str()) != 0 && errno != ENOENT) {
        const int err = errno;
        ::unlink(to.c_str());
        return platform::makeError("cannot remove " + from.string() + ": " + std::strerror(err), err);
    }
    return load(to, target);
}

Result<void> ToDoStore::deleteToDo(std::string_view uid) {
    auto toDo = LUMETTA_TRY(findToDo(uid));
    const fs::path& file = toDo.file;
    LUMETTA_TRY_VOID(CalendarFolders::checkWritable(toDo.calendar.folder));
    auto identity = ItemFile::identify(file);
    if (identity)
        LUMETTA_TRY_VOID(checkFileWritable(identity.value(), file));
    if (::unlink(file.c_str()) != 0 && errno != ENOENT)
        return platform::makeError("cannot delete " + file.string() + ": " + std::strerror(errno), errno);
    return {};
}

} // namespace calendarapp
