#pragma once

#include "mailhost/library/LibraryPlistFile.h"
#include "mailhost/rules/MessageRule.h"
#include "platform/foundation/Result.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace mailhost {

// The rules of a library, in the order they are applied: `MessageRules.plist` in the
// library root, an XML property list {RulesVersion = 1; rules = (rule, ...)} holding each
// rule's saved form, its extra dictionary included.
//
// A missing file is a library without rules. A file that does not read, or holds an
// entry that is not a rule, is an error, and nothing can be saved over it: the user's
// rules are not replaced by a shorter list because one byte went wrong. Saving writes a
// new file and renames it over the old one, so a crash leaves the old rules or the new.
// The desktop client and the command line change the same file: a change starts with
// `edit`, which holds the file's lock until the store is let go, so neither loses the
// other's rules.
class MessageRules {
public:
    static constexpr const char* kFileName = "MessageRules.plist";
    static constexpr int kVersion = 1;

    // For reading.
    [[nodiscard]] static platform::Result<MessageRules> load(const std::filesystem::path& libraryRoot);
    // For changing and saving: read under the lock, which is kept until the store goes.
    [[nodiscard]] static platform::Result<MessageRules> edit(const std::filesystem::path& libraryRoot);

    const std::vector<std::shared_ptr<MessageRule>>& rules() const { return rules_; }
    // The rules in force (active), in order.
    std::vector<std::shared_ptr<MessageRule>> activeRules() const;
    // The first rule with this name; nullptr when there is none.
    std::shared_ptr<MessageRule> rule(const std::string& name) const;

    // Appends a rule: it runs after the others.
    void add(std::shared_ptr<MessageRule> rule);
    // False when no rule has this name.
    bool remove(const std::string& name);

    [[nodiscard]] platform::Result<void> save() const;

    const std::filesystem::path& file() const { return file_.path(); }

private:
    explicit MessageRules(const std::filesystem::path& libraryRoot);
    [[nodiscard]] static platform::Result<MessageRules> open(const std::filesystem::path& libraryRoot,
                                                             bool forEditing);
    // Takes the file's contents (null: no file).
    [[nodiscard]] platform::Result<void> take(const platform::Value& contents);

    LibraryPlistFile file_;
    std::vector<std::shared_ptr<MessageRule>> rules_;
};

} // namespace mailhost
