#pragma once

#include "calendarapp/store/ItemFile.h"
#include "calendarapp/store/ToDo.h"
#include "platform/foundation/Date.h"
#include "platform/foundation/Result.h"

#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace calendarapp {

// What the store learnt from item files, keyed by path and valid only for the file's
// identity (inode, size, modification time): a file another program changed or
// replaced is read again on the next call, so nothing here can hide a change. Safe to
// use from several threads.
class ToDoCache {
public:
    // The to-do in `file` (its calendar left empty), or why it cannot be read, naming the
    // file. A file that cannot be read is logged once for each version of it.
    platform::Result<ToDo> load(const std::filesystem::path& file);

    // The to-do in `file` when its stamp is later than `date`, else nothing. A file not
    // written since `date` is only scanned for LAST-MODIFIED lines (see StampBound) and
    // parsed when those leave the answer open; an unreadable one is reported only when
    // written since `date`.
    platform::Result<std::optional<ToDo>> loadIfChangedAfter(const std::filesystem::path& file,
                                                             platform::Date date);

    // Forgets the files of `folder` other than `present`, which have gone away.
    void keepOnly(const std::filesystem::path& folder, const std::vector<std::filesystem::path>& present);

private:
    struct Entry {
        FileIdentity identity;
        std::optional<platform::Result<ToDo>> toDo; // once parsed
        std::optional<platform::Date> stampBound;   // once scanned
    };
    using Folder = std::unordered_map<std::string, Entry>;

    std::optional<Entry> entryFor(const std::filesystem::path& file);
    void remember(const std::filesystem::path& file, Entry entry);
    platform::Result<ToDo> parse(const std::filesystem::path& file, const ItemFile::Contents& contents);

    std::mutex mutex_;
    std::unordered_map<std::string, Folder> folders_;
};

} // namespace calendarapp
