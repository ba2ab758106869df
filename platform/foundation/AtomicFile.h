#pragma once

#include "platform/foundation/Result.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace platform {

// Whole-file writes that a crash, a kill or a full disk cannot leave half done: the
// bytes go to a temporary file in the same folder, are flushed, and replace the old
// file by rename; the folder is flushed last so the rename itself survives.
class AtomicFile {
public:
    // `flush` false leaves flushing to the caller, who writes many files and then
    // flushes the whole file system once (syncFileSystem): a killed process still
    // leaves each file old or new, and only a power loss before that flush can lose
    // the batch.
    static Result<void> write(const std::filesystem::path& path, std::string_view bytes, bool flush = true);
    static Result<void> syncFileSystem(const std::filesystem::path& anyPathOnIt);
    static Result<std::string> read(const std::filesystem::path& path);
};

} // namespace platform
