#pragma once

#include "calendarapp/store/ItemFile.h"
#include "calendarapp/store/ToDo.h"
#include "platform/foundation/Result.h"

#include <filesystem>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace calendarapp {

// Parsed item files, keyed by path and valid only for the file's identity (inode, size,
// modification time): a file another program changed or replaced is read again on the
// next call, so nothing here can hide a change. Safe to use from several threads.
class ToDoCache {
public:
    // The to-do in `file` (its calendar left empty), or why it cannot be read, naming the
    // file. A file that cannot be read is logged once for each version of it.
    platform::Result<ToDo> load(const std::filesystem::path& file);

    // Forgets the files of `folder` other than `present`, which have gone away.
    void keepOnly(const std::filesystem::path& folder, const std::vector<std::filesystem::path>& present);

private:
    struct Entry {
        FileIdentity identity;
        platform::Result<ToDo> toDo;
    };

    std::mutex mutex_;
    std::unordered_map<std::string, Entry> entries_;
};

} // namespace calendarapp
