#include "mailhost/mail/LibraryAdoption.h"

#include "mailhost/library/EmlxFile.h"
#include "mailhost/library/LibraryLayout.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/MessageEnvelope.h"
#include "mailhost/message/MessageHeaders.h"
#include "platform/foundation/AtomicFile.h"
#include "platform/foundation/IgnoreError.h"
#include "platform/foundation/Value.h"

#include <algorithm>
#include <set>
#include <utility>

namespace mailhost {

namespace fs = std::filesystem;
using platform::Result;

namespace {

std::vector<fs::path> messageFiles(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code ec;
    for (auto it = fs::recursive_directory_iterator(folder, ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        if (it->is_directory() && it->path().filename() == "Attachments")
            it.disable_recursion_pending(); // attachment files are not messages
        else if (it->is_regular_file() && it->path().extension() == ".emlx")
            files.push_back(it->path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

bool LibraryAdoption::isMailboxFolder(const fs::path& folder) {
    std::error_code ec;
    return fs::is_directory(folder / "Messages", ec) || fs::is_directory(folder / "Data", ec);
}

std::optional<Envelope> LibraryAdoption::envelopeFromFile(const fs::path& file, std::string& problem) {
    auto read = MessageEnvelope::fromFile(file);
    if (!read) {
        problem = read.error().message;
        return std::nullopt;
    }
    problem = read.value().problem; // a damaged property list: still a message
    return read.value().envelope;
}

Result<LibraryAdoption::Report> LibraryAdoption::adoptLibrary(const fs::path& folder,
                                                              const Progress& progress) {
    std::error_code ec;
    if (!fs::is_directory(folder, ec))
        return platform::makeError(folder.string() + " is not a folder");
    // The permission bits, not access(): a folder marked read-only stays untouched even
    // for a user the system would let write there.
    const auto perms = fs::status(folder, ec).permissions();
    if (ec || (perms & (fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write)) ==
                  fs::perms::none)
        return platform::makeError("cannot adopt " + folder.string() +
                                   " in place: it is read-only. Copy it first (cp -r) and adopt the copy");
    bool hasMailbox = false;
    for (const auto& entry : fs::directory_iterator(folder, ec))
        hasMailbox = hasMailbox || (entry.is_directory() && entry.path().extension() == ".mbox");
    if (!hasMailbox)
        return platform::makeError(folder.string() +
                                   " holds no mailboxes (<Name>.mbox folders): not a mail folder");
    auto opened = LUMETTA_TRY(Library::open(folder, true, false));
    Library& library = *opened;
    const LibraryLayout& layout = library.layout();
    Report report;
    std::set<std::string> boxes;
    auto bulk = std::make_unique<Library::BulkAdd>(library);
    // The files of the open batch: what they hold beside the message goes into the index
    // in the same transaction, so that adopted mail is found by its tags at once.
    std::vector<std::string> indexed;
    for (const auto& file : messageFiles(folder)) {
        auto where = layout.locate(file);
        if (!where) {
            report.skipped.push_back(file.string() + ": not where a message file of a mailbox belongs");
            continue;
        }
        std::string problem;
        auto envelope = envelopeFromFile(file, problem);
        if (!envelope) {
            report.skipped.push_back(file.string() + ": " + problem);
            continue;
        }
        auto box = LUMETTA_TRY(library.index().addMailbox(where->mailbox, where->sharded));
        boxes.insert(where->mailbox);
        envelope->rowid = where->rowid;
        envelope->mailbox = box.id;
        envelope->partial = where->partial;
        if (library.index().message(where->rowid))
            continue; // adopted before: the file is already known
        if (auto inserted = library.index().insert(*envelope); !inserted) {
            report.skipped.push_back(file.string() + ": " + inserted.error().message);
            continue;
        }
        if (library.indexer().indexMessageFileAt(file, where->mailbox))
            indexed.push_back(file.string());
        if (++report.messages % 1000 == 0) {
            library.indexer().announceIndexedFiles(std::exchange(indexed, {}));
            LUMETTA_TRY_VOID(bulk->commit());
            bulk = std::make_unique<Library::BulkAdd>(library);
            if (progress)
                progress(report.messages);
        }
    }
    library.indexer().announceIndexedFiles(indexed);
    LUMETTA_TRY_VOID(bulk->commit());
    report.mailboxes = boxes.size();
    return report;
}

Result<LibraryAdoption::Report> LibraryAdoption::adoptMailbox(Library& library, const fs::path& folder,
                                                              const std::string& name,
                                                              const Progress& progress) {
    if (!isMailboxFolder(folder))
        return platform::makeError(folder.string() + " holds no Messages folder: not a mailbox");
    auto box = LUMETTA_TRY(library.createMailbox(name));
    Report report;
    report.mailboxes = 1;
    std::vector<std::string> indexed;
    for (const auto& file : messageFiles(folder)) {
        std::string problem;
        auto envelope = envelopeFromFile(file, problem);
        const std::string fileName = file.filename().string();
        const bool partial = fileName.ends_with(".partial.emlx");
        std::int64_t rowid = 0;
        try {
            rowid = std::stoll(fileName);
        } catch (...) {
            rowid = 0;
        }
        if (!envelope || rowid <= 0) {
            report.skipped.push_back(file.string() + ": " +
                                     (problem.empty() ? "not a message file" : problem));
            continue;
        }
        // A row number already in use gets a new one, and the file a new name.
        envelope->rowid = library.index().message(rowid) ? 0 : rowid;
        envelope->mailbox = box.id;
        envelope->partial = partial;
        auto inserted = library.index().insert(*envelope);
        if (!inserted) {
            report.skipped.push_back(file.string() + ": " + inserted.error().message);
            continue;
        }
        const fs::path target = library.layout().messagePath(name, inserted.value(), false, partial);
        std::error_code ec;
        fs::create_directories(target.parent_path(), ec);
        auto bytes = platform::AtomicFile::read(file);
        auto written =
            bytes ? platform::AtomicFile::write(target, bytes.value()) : Result<void>(bytes.error());
        if (!written) {
            platform::ignoreError(library.index().remove(inserted.value()),
                                  "index entry of a file not copied, itself reported as skipped");
            report.skipped.push_back(file.string() + ": " + written.error().message);
            continue;
        }
        if (library.indexer().indexMessageFileAt(target, name))
            indexed.push_back(target.string());
        // A partial message's attachments travel with it, under its new number.
        const fs::path attachments = folder / "Attachments" / std::to_string(rowid);
        if (partial && fs::is_directory(attachments, ec)) {
            const fs::path to = library.layout().attachmentsFolder(name, inserted.value());
            fs::create_directories(to.parent_path(), ec);
            fs::copy(attachments, to, fs::copy_options::recursive | fs::copy_options::skip_existing, ec);
            if (ec)
                report.skipped.push_back(attachments.string() + ": attachments not copied: " + ec.message());
        }
        ++report.messages;
        if (report.messages % 1000 == 0) {
            library.indexer().announceIndexedFiles(std::exchange(indexed, {}));
            if (progress)
                progress(report.messages);
        }
    }
    library.indexer().announceIndexedFiles(indexed);
    return report;
}

} // namespace mailhost
