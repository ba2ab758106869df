#pragma once

#include "mailhost/library/EnvelopeIndex.h"
#include "platform/foundation/Result.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace mailhost {

class Library;

// Taking over mail folders copied from the original client without changing a byte
// of them: a whole mail folder becomes a library where it lies (the index is built
// beside the files, each message keeping its row number, taken from its file name),
// and a single mailbox folder is copied into an open library.
class LibraryAdoption {
public:
    struct Report {
        std::size_t mailboxes = 0;
        std::size_t messages = 0;
        std::vector<std::string> skipped; // "path: reason", one per file not taken
    };
    using Progress = std::function<void(std::size_t messagesSoFar)>;

    // The envelope of a message file: headers from the message, flags and dates from
    // its property list. nullopt when the file is not a readable message file.
    static std::optional<Envelope> envelopeFromFile(const std::filesystem::path& file, std::string& problem);

    // Makes `folder` (holding <Name>.mbox folders) a library in place.
    static platform::Result<Report> adoptLibrary(const std::filesystem::path& folder,
                                                 const Progress& progress = {});

    // Copies the mailbox folder `folder` (holding Messages/, maybe Attachments/ and
    // Data/) into `library` as mailbox `name`, keeping row numbers that are free.
    static platform::Result<Report> adoptMailbox(Library& library, const std::filesystem::path& folder,
                                                 const std::string& name, const Progress& progress = {});

    // True when `folder` is one mailbox rather than a whole mail folder.
    static bool isMailboxFolder(const std::filesystem::path& folder);
};

} // namespace mailhost
