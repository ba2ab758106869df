#include "calendarapp/store/ToDoCache.h"

#include "calendarapp/store/ToDoParser.h"
#include "platform/foundation/Log.h"

#include <cerrno>
#include <unordered_set>

namespace calendarapp {

platform::Result<ToDo> ToDoCache::load(const std::filesystem::path& file) {
    auto identity = ItemFile::identify(file);
    if (!identity)
        return identity.error();
    {
        std::lock_guard lock(mutex_);
        const auto found = entries_.find(file.string());
        if (found != entries_.end() && found->second.identity == identity.value())
            return found->second.toDo;
    }
    auto contents = ItemFile::read(file);
    if (!contents)
        return contents.error();
    platform::Result<ToDo> toDo =
        ToDoParser::parse(contents.value().bytes, contents.value().identity.modified());
    if (toDo) {
        toDo.value().file = file;
    } else {
        toDo =
            platform::makeError(file.string() + " is not a readable to-do: " + toDo.error().message, EBADMSG);
        platform::Log::line("lumetta-calendar: skipping " + toDo.error().message);
    }
    std::lock_guard lock(mutex_);
    entries_.insert_or_assign(file.string(), Entry{contents.value().identity, toDo});
    return toDo;
}

void ToDoCache::keepOnly(const std::filesystem::path& folder,
                         const std::vector<std::filesystem::path>& present) {
    std::unordered_set<std::string> keep;
    for (const auto& path : present)
        keep.insert(path.string());
    std::lock_guard lock(mutex_);
    for (auto it = entries_.begin(); it != entries_.end();) {
        const std::filesystem::path path(it->first);
        if (path.parent_path() == folder && !keep.contains(it->first))
            it = entries_.erase(it);
        else
            ++it;
    }
}

} // namespace calendarapp
