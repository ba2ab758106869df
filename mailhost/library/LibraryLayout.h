#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace mailhost {

// Where the files of a mail library live, in the mail client's layout:
//   <root>/<A>.mbox/<B>.mbox/Messages/<rowid>.emlx          mailbox "A/B", plain
//   <root>/<A>.mbox/Messages/<rowid>.partial.emlx           attachments kept apart, in
//   <root>/<A>.mbox/Attachments/<rowid>/<MIME part>/<file>
//   <root>/<A>.mbox/Data/<d>/<d>/Messages/<rowid>.emlx      sharded: the rowid without its
//                                                           last three digits, reversed,
//                                                           one folder per digit
class LibraryLayout {
public:
    explicit LibraryLayout(std::filesystem::path root) : root_(std::move(root)) {}

    const std::filesystem::path& root() const { return root_; }
    std::filesystem::path envelopeIndexPath() const { return root_ / "Envelope Index"; }

    std::filesystem::path mailboxFolder(const std::string& mailbox) const;
    std::filesystem::path messagesFolder(const std::string& mailbox, std::int64_t rowid, bool sharded) const;
    std::filesystem::path messagePath(const std::string& mailbox, std::int64_t rowid, bool sharded,
                                      bool partial) const;
    std::filesystem::path attachmentsFolder(const std::string& mailbox, std::int64_t rowid) const;

    // The folders of the sharded layout for a row number: 114892 -> "4/1/1".
    static std::filesystem::path shardFolders(std::int64_t rowid);

    // What a message file's path says: mailbox, row number, partial, sharded.
    struct Location {
        std::string mailbox;
        std::int64_t rowid = 0;
        bool partial = false;
        bool sharded = false;
    };
    // nullopt for a path that is not a message file of this library.
    std::optional<Location> locate(const std::filesystem::path& file) const;

private:
    std::filesystem::path root_;
};

} // namespace mailhost
