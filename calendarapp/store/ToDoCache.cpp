#include "calendarapp/store/ToDoCache.h"

#include "calendarapp/store/StampBound.h"
#include "calendarapp/store/ToDoParser.h"
#include "platform/foundation/Log.h"

#include <cerrno>
#include <unordered_set>

namespace calendarapp {

namespace fs = std::filesystem;

namespace {

platform::Result<std::optional<ToDo>> ifChangedAfter(const platform::Result<ToDo>& toDo,
                                                     const FileIdentity& identity, platform::Date date) {
    if (!toDo && identity.modified() > date)
        return toDo.error();
    if (toDo && toDo.value().stamp > date)
        return std::optional<ToDo>(toDo.value());
    return std::optional<ToDo>();
}

} // namespace

std::optional<ToDoCache::Entry> ToDoCache::entryFor(const fs::path& file) {
    std::lock_guard lock(mutex_);
    const auto folder = folders_.find(file.parent_path().string());
    if (folder == folders_.end())
        return std::nullopt;
    const auto found = folder->second.find(file.filename().string());
    if (found == folder->second.end())
        return std::nullopt;
    return found->second;
}

void ToDoCache::remember(const fs::path& file, Entry entry) {
    std::lock_guard lock(mutex_);
    folders_[file.parent_path().string()].insert_or_assign(file.filename().string(), std::move(entry));
}

platform::Result<ToDo> ToDoCache::parse(const fs::path& file, const ItemFile::Contents& contents) {
    platform::Result<ToDo> toDo = ToDoParser::parse(contents.bytes, contents.identity.modified());
    if (toDo) {
        toDo.value().file = file;
    } else {
        toDo =
            platform::makeError(file.string() + " is not a readable to-do: " + toDo.error().message, EBADMSG);
        platform::Log::line("lumetta-calendar: skipping " + toDo.error().message);
    }
    remember(file, Entry{contents.identity, toDo, std::nullopt});
    return toDo;
}

// A file seen before is looked at first and read only when it changed; a file never
// seen is read straight away, its identity taken from the open file.
platform::Result<ToDo> ToDoCache::load(const fs::path& file) {
    if (auto entry = entryFor(file); entry && entry->toDo) {
        auto identity = LUMETTA_TRY(ItemFile::identify(file));
        if (entry->identity == identity)
            return *entry->toDo;
    }
    auto contents = LUMETTA_TRY(ItemFile::read(file));
    return parse(file, contents);
}

platform::Result<std::optional<ToDo>> ToDoCache::loadIfChangedAfter(const fs::path& file,
                                                                    platform::Date date) {
    if (auto entry = entryFor(file)) {
        auto identity = LUMETTA_TRY(ItemFile::identify(file));
        if (entry->identity == identity) {
            if (entry->toDo)
                return ifChangedAfter(*entry->toDo, entry->identity, date);
            if (entry->stampBound && !(*entry->stampBound > date))
                return std::optional<ToDo>();
        }
    }
    auto contents = LUMETTA_TRY(ItemFile::read(file));
    const FileIdentity& read = contents.identity;
    if (!(read.modified() > date)) {
        const auto bound = StampBound::of(contents.bytes, read.modified());
        if (bound && !(*bound > date)) {
            remember(file, Entry{read, std::nullopt, bound});
            return std::optional<ToDo>();
        }
    }
    return ifChangedAfter(parse(file, contents), read, date);
}

void ToDoCache::keepOnly(const fs::path& folder, const std::vector<fs::path>& present) {
    std::unordered_set<std::string> keep;
    for (const auto& path : present)
        keep.insert(path.filename().string());
    std::lock_guard lock(mutex_);
    const auto entries = folders_.find(folder.string());
    if (entries != folders_.end())
        std::erase_if(entries->second, [&keep](const auto& entry) { return !keep.contains(entry.first); });
}

} // namespace calendarapp
