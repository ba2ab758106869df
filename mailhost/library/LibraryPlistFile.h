#pragma once

#include "platform/foundation/FileLock.h"
#include "platform/foundation/Result.h"
#include "platform/foundation/Value.h"

#include <filesystem>
#include <optional>
#include <string>

namespace mailhost {

// One of the library's property-list files that more than one program changes: the
// smart mailboxes and the rules, edited from the command line while the desktop client
// runs. Reading needs no lock, since the file is only ever replaced whole by rename. An
// edit takes the lock (a hidden lock file beside it) before it reads and keeps it until
// it has written, so two edits at the same moment both land instead of one being lost.
class LibraryPlistFile {
public:
    // `what` names the contents in messages: "the smart mailboxes", "the rules".
    LibraryPlistFile(std::filesystem::path file, std::string what);

    const std::filesystem::path& path() const { return file_; }

    // The file's value; null when there is no file. A file that does not read is an
    // error that says it was left alone, so no caller saves an empty list over it.
    // `forEditing` takes the lock first and keeps it until this object goes.
    [[nodiscard]] platform::Result<platform::Value> read(bool forEditing);
    // Replaces the file whole, flushed, by rename.
    [[nodiscard]] platform::Result<void> write(const platform::Value& value) const;

    // The start of every complaint about the contents.
    std::string damaged() const;

private:
    std::filesystem::path file_;
    std::string what_;
    std::optional<platform::FileLock> lock_;
};

} // namespace mailhost
