#pragma once

#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Value.h"

#include <optional>
#include <string>
#include <vector>

namespace lumetta {

// Operations on one message's tag record: a mutable dictionary of tag keys (those
// with the "lumetta" prefix), the host's own keys when the record came from a file,
// and the removal set of keys still to be deleted from the file.
//
// The removal set is kept as a set by tag access and the editors, and as an array
// by rule actions; readers here accept both. A key is never both in the record and
// in the removal set after setTag() or removeTag(), and the set lives as long as the
// record, so a key that stays removed leaves the file again on every later write.
class TagRecord {
public:
    // Sets `key` (nil removes it, as key-value coding does) and takes the key out of
    // a pending removal.
    static void setTag(platform::Dictionary& record, const std::string& key, platform::Value value);
    // Removes `key` and enters it in the removal set, creating the set when missing.
    static void removeTag(platform::Dictionary& record, const std::string& key);

    // The keys of the removal set, in either form; empty when there is none.
    static std::vector<std::string> pendingRemovals(const platform::Dictionary& record);
    static bool isRemovalPending(const platform::Dictionary& record, const std::string& key);

    // Copies every tag key of `source` into `target`, then removes from `target` each
    // key of the source's removal set that the source has no value for. Keys without
    // the prefix, the removal set among them, are never copied.
    static void mergeTagKeys(platform::Dictionary& target, const platform::Dictionary& source);
    // Brings into `target` (a message file's property list as it is now) the tags that
    // `record` changed since the file held `asSaved`: a changed key takes the record's
    // value, or goes when the record dropped it; keywords take the ones added and lose
    // the ones removed, keeping those someone else put into the file meanwhile. Keys
    // the record did not change keep the file's value. A pending removal not yet
    // carried out (not in the removal set of `asSaved`) takes the key out.
    static void mergeChanges(platform::Dictionary& target, const platform::Dictionary& record,
                             const platform::Dictionary& asSaved);
    // Makes the tag keys of `record` those of `tags`, touching only keys that differ.
    static void takeTags(platform::Dictionary& record, const platform::Dictionary& tags);
    // The tag keys of `record` as they are now, in containers of their own, so that
    // later edits of the record in place do not reach the copy.
    static platform::Dictionary tagSnapshot(const platform::Dictionary& record);
    // Only the tag keys of `record`, in a new dictionary.
    static platform::Dictionary tagKeysOnly(const platform::Dictionary& record);

    // Tags present, as the message list's disclosure icon sees the record in memory:
    // any key with the prefix counts, even one whose value means "not set".
    static bool hasTagKeys(const platform::Dictionary& record);
    // Tags present, as a message file's property list shows them: a note, a real
    // project, keywords, a priority or a due-date state in force. The to-do link
    // and show-as-subject alone do not count.
    static bool presentInFile(const platform::Dictionary& plist);

    // The project a value names: a string, or the first element of an array; nullopt
    // when there is none or it is "None".
    static std::optional<std::string> projectTitle(const platform::Value& project);
    // The due date as every reader sees it: only while the due-date state is in force.
    static platform::Value dueDate(const platform::Dictionary& record);
};

} // namespace lumetta
