#pragma once

#include "mailhost/criteria/MessageCriterion.h"
#include "mailhost/library/LibraryPlistFile.h"
#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Result.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace mailhost {

// The smart mailboxes of a library: `SmartMailboxes.plist` in the library root, an XML
// property list mapping each name to the dictionary form of its compound criterion. The
// file holds only what decides membership; which messages belong is worked out each time
// a mailbox is listed (SmartMailboxQuery), so tag and flag changes show at once.
//
// A missing file is a library without smart mailboxes. A file that does not read is an
// error, and the store refuses to save over it: the user's mailboxes are not replaced by
// an empty list because one byte went wrong. Saving writes a new file and renames it over
// the old one, so a crash leaves the old list or the new one. The desktop client and the
// command line change the same file: a change starts with `edit`, which holds the file's
// lock until the store is let go, so neither loses the other's mailboxes.
class SmartMailboxes {
public:
    static constexpr const char* kFileName = "SmartMailboxes.plist";

    // For reading.
    [[nodiscard]] static platform::Result<SmartMailboxes> load(const std::filesystem::path& libraryRoot);
    // For changing and saving: read under the lock, which is kept until the store goes.
    [[nodiscard]] static platform::Result<SmartMailboxes> edit(const std::filesystem::path& libraryRoot);

    // Sorted by name.
    std::vector<std::string> names() const;
    bool contains(const std::string& name) const { return entries_.contains(name); }
    // A new criterion read from the stored form each call (callers may change it freely);
    // nullptr for an unknown name or an entry that is not a criterion's dictionary.
    std::shared_ptr<MessageCriterion> criterion(const std::string& name) const;

    // Adds or replaces a mailbox; the criterion is stored in its dictionary form.
    void set(const std::string& name, const MessageCriterion& compound);
    // False when there was no such mailbox.
    bool remove(const std::string& name);

    [[nodiscard]] platform::Result<void> save() const;

    const std::filesystem::path& file() const { return file_.path(); }

private:
    explicit SmartMailboxes(const std::filesystem::path& libraryRoot);
    [[nodiscard]] static platform::Result<SmartMailboxes> open(const std::filesystem::path& libraryRoot,
                                                               bool forEditing);
    // Takes the file's contents (null: no file).
    [[nodiscard]] platform::Result<void> take(const platform::Value& contents);

    LibraryPlistFile file_;
    platform::Dictionary entries_;
};

} // namespace mailhost
