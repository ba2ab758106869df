#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace mailhost {

class Library;

// Keeps the library's metadata index in line with its message files: the client's own
// attributes of each file (subject, people, dates, mailbox, text). Failures are logged,
// not returned: the files are what matters, and `lumetta reindex` rebuilds the index
// from them. A library whose metadata index could not be opened indexes nothing.
class LibraryIndexer {
public:
    explicit LibraryIndexer(Library& library) : library_(library) {}

    // Puts the client's attributes of a message file into the index (its other
    // attributes stay).
    void indexMessageFile(const std::string& path, std::string_view messageBytes, const std::string& mailbox,
                          double dateReceived);
    // The same for a file already on disk; false when it cannot be read as a message file.
    bool indexMessageFileAt(const std::filesystem::path& path, const std::string& mailbox);
    // Takes the file's item out of the index.
    void forgetMessageFile(const std::string& path);
    // Posts the library's "files indexed" notification for `paths` (nothing when there are
    // none), so that whoever mirrors more of a file than the client's attributes reads it.
    void announceIndexedFiles(const std::vector<std::string>& paths);

private:
    Library& library_;
};

} // namespace mailhost
