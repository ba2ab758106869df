#include "mailhost/import/MaildirReader.h"

#include "mailhost/import/InputFile.h"

#include <algorithm>
#include <system_error>

namespace mailhost {

namespace fs = std::filesystem;

MaildirReader::Flags MaildirReader::flagsFromName(std::string_view filename) {
    Flags flags;
    const std::size_t colon = filename.rfind(':');
    if (colon == std::string_view::npos || filename.substr(colon + 1, 2) != "2,") {
        return flags;
    }
    for (char letter : filename.substr(colon + 3)) {
        switch (letter) {
        case 'S':
            flags.read = true;
            break;
        case 'R':
            flags.answered = true;
            break;
        case 'F':
            flags.flagged = true;
            break;
        case 'D':
            flags.draft = true;
            break;
        case 'T':
            flags.deleted = true;
            break;
        case 'P':
            flags.forwarded = true;
            break;
        default:
            break;
        }
    }
    return flags;
}

MaildirReader::MaildirReader(std::vector<Entry> entries, std::uint64_t maxMessageBytes)
    : entries_(std::move(entries)), maxMessageBytes_(maxMessageBytes) {
    for (const Entry& entry : entries_) {
        total_ += entry.size;
    }
}

platform::Result<std::unique_ptr<MaildirReader>> MaildirReader::open(const fs::path& folder,
                                                                     std::uint64_t maxMessageBytes) {
    std::error_code error;
    const bool hasCur = fs::is_directory(folder / "cur", error);
    const bool hasNew = fs::is_directory(folder / "new", error);
    if (!hasCur && !hasNew) {
        return platform::makeError(folder.string() +
                                   " is not a Maildir folder: it has neither cur/ nor new/");
    }
    std::vector<Entry> entries;
    for (const char* sub : {"new", "cur"}) {
        const fs::path directory = folder / sub;
        if (!fs::is_directory(directory, error)) {
            continue;
        }
        fs::directory_iterator it(directory, error);
        if (error) {
            return platform::makeError("cannot list " + directory.string() + ": " + error.message(),
                                       error.value());
        }
        for (; it != fs::directory_iterator(); it.increment(error)) {
            if (error) {
                return platform::makeError("cannot list " + directory.string() + ": " + error.message(),
                                           error.value());
            }
            const fs::path& path = it->path();
            if (path.filename().string().starts_with('.') || !it->is_regular_file(error)) {
                continue;
            }
            const std::uintmax_t size = it->file_size(error);
            entries.push_back({path, error ? 0 : static_cast<std::uint64_t>(size)});
        }
        if (error) {
            return platform::makeError("cannot list " + directory.string() + ": " + error.message(),
                                       error.value());
        }
    }
    std::sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
        const std::string nameA = a.path.filename().string();
        const std::string nameB = b.path.filename().string();
        return nameA != nameB ? nameA < nameB : a.path < b.path;
    });
    return std::unique_ptr<MaildirReader>(new MaildirReader(std::move(entries), maxMessageBytes));
}

platform::Result<bool> MaildirReader::next(ImportedMessage& out) {
    if (nextEntry_ >= entries_.size()) {
        return false;
    }
    const Entry& entry = entries_[nextEntry_++];
    consumed_ += entry.size;

    out = ImportedMessage{};
    out.origin = entry.path.string();
    const Flags flags = flagsFromName(entry.path.filename().string());
    out.read = flags.read;
    out.answered = flags.answered;
    out.flagged = flags.flagged;
    out.draft = flags.draft;
    out.deleted = flags.deleted;
    out.forwarded = flags.forwarded;

    auto file = LUMETTA_TRY(InputFile::open(entry.path));
    out.receivedDate = file.modificationDate();
    auto bytes = LUMETTA_TRY(file.readAll(maxMessageBytes_));
    if (bytes.find_first_not_of(" \t\r\n") == std::string::npos) {
        return platform::makeError(out.origin + ": the file holds no message");
    }
    out.bytes = std::move(bytes);
    return true;
}

} // namespace mailhost
