#include "lumetta/store/SpotlightSync.h"

#include "lumetta/core/DebugLogging.h"
#include "lumetta/store/LibraryTagPersistence.h"
#include "lumetta/store/TagKeys.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/LibraryMessage.h"
#include "mailhost/mail/Matador.h"
#include "mailhost/mail/RecoveredMessage.h"
#include "platform/runtime/Runtime.h"

namespace lumetta {

using platform::Array;
using platform::Dictionary;
using platform::Value;
using platform::runtime::Class;
using platform::runtime::Sel;
namespace md = platform::spotlight;

namespace {

constexpr const char* kComment = "kMDItemComment";
constexpr const char* kProjects = "kMDItemProjects";
// The single-valued attribute earlier versions wrote; whatever is left of it goes.
constexpr const char* kLegacyProject = "kMDItemProject";
constexpr const char* kKeywords = "kMDItemKeywords";
constexpr const char* kStarRating = "kMDItemStarRating";
constexpr const char* kDueDate = "kMDItemDueDate";

// The four attributes the verbose trace shows before and after. The third is spelt with
// a lower-case "d" and so never finds the due date: the trace has always read it so,
// and people comparing traces rely on the lines staying as they were.
const std::vector<std::string> kTracedAttributes = {kProjects, kStarRating, "kMDItemDuedate", kComment};

void removeTag(const char* name, const md::MDItemRef& item, const std::string& path) {
    SpotlightSync::lumettaRemoveTag(nullptr, {}, name, item, path);
}

void write(const std::string& path, const char* name, const Value& value) {
    // What the writer answers is not looked at: a failed write leaves the attribute as
    // it was, and the next tag change or file write tries again.
    (void)mailhost::Matador::sharedInstance().setAttributeForFileAtPath(path, name, value);
}

bool isStoredOrLoose(const mailhost::Message* message) {
    return message && (message->isKindOfClass(mailhost::LibraryMessage::kClassName) ||
                       message->isKindOfClass(mailhost::RecoveredMessage::kClassName));
}

// The item of the file, or of the file where the host keeps the message otherwise (the
// partial file beside it, the sharded layout); `path` follows the item found.
md::MDItemRef findItem(mailhost::Message* message, std::string& path) {
    md::MDItemRef item = md::MDItemCreate(path);
    if (item || !isStoredOrLoose(message))
        return item;
    for (int type : {1, 2}) {
        const std::string other = mailhost::Library::dataPathForMessage(message, type);
        if (other.empty())
            continue;
        if (md::MDItemRef found = md::MDItemCreate(other)) {
            path = other;
            return found;
        }
    }
    return {};
}

void syncProject(const Value& project, const md::MDItemRef& item, const std::string& path) {
    if (project.isNull()) {
        removeTag(kProjects, item, path);
    } else if (const std::string* title = project.string()) {
        if (*title == TagKeys::kNoProject) {
            removeTag(kProjects, item, path);
        } else {
            debugLog(0, "Writing Project \"%@\" to Spotlight for MessageFile %@", {project, path});
            write(path, kProjects, Array{project});
        }
    } else if (const Array* titles = project.array()) {
        if (titles->empty() || titles->first() == Value(std::string(TagKeys::kNoProject))) {
            removeTag(kProjects, item, path);
        } else {
            debugLog(0, "Writing Project \"%@\" to Spotlight for MessageFile %@", {project, path});
            write(path, kProjects, project);
        }
    }
    // Any other kind of value is no project anyone set through the plug-in: left alone.
}

// A present or absent key mirrored one to one.
void syncPresence(const Dictionary& tags, const char* key, const char* attribute, std::string_view line,
                  const md::MDItemRef& item, const std::string& path) {
    const Value value = tags.get(key);
    if (value.isNull()) {
        removeTag(attribute, item, path);
        return;
    }
    debugLog(0, line, {value, path});
    write(path, attribute, value);
}

// The due date is written only when there is one to write and the state does not say
// "off"; an absent state does not clear it, so that a dictionary holding only the date
// (an older file) still shows it.
void syncDueDate(const Dictionary& tags, mailhost::Message* message, const md::MDItemRef& item,
                 const std::string& path) {
    const Value state = tags.get(TagKeys::kDueDateState);
    Value date = tags.get(TagKeys::kDueDate);
    if (!state.isNull() && state.integerValue() == 0) {
        removeTag(kDueDate, item, path);
        return;
    }
    if (!state.isNull() && date.isNull()) {
        if (auto file =
                LibraryTagPersistence::lumettaMetaDataDictionaryFromEmlxFile(nullptr, {}, path, message))
            date = file->get(TagKeys::kDueDate);
    }
    if (date.isNull())
        return;
    debugLog(0, "Writing DueDate \"%@\" to Spotlight for MessageFile %@", {date, path});
    write(path, kDueDate, date);
}

} // namespace

void SpotlightSync::load() {
    if (Class* cls = platform::runtime::Runtime::classNamed(mailhost::Library::kClassName)) {
        cls->addClassMethod("lumettaUpdateSpotlightForDictionary:andMessage:atEmlxPath:",
                            &lumettaUpdateSpotlightForDictionary);
        cls->addClassMethod("lumettaRemoveTag:forMDRef:andPath:", &lumettaRemoveTag);
    }
}

void SpotlightSync::lumettaRemoveTag(Class*, Sel, std::string name, md::MDItemRef item, std::string path) {
    if (!item || md::MDItemCopyAttribute(item, name).isNull())
        return;
    debugLog(0, "Clearing %@ in Spotlight for MessageFile %@", {name, path});
    (void)md::MDItemRemoveAttribute(item, name);
}

void SpotlightSync::lumettaUpdateSpotlightForDictionary(Class*, Sel, Dictionary tags,
                                                        mailhost::Message* message, std::string path) {
    const md::MDItemRef item = findItem(message, path);
    if (!item)
        return; // a file the index does not know: nothing to bring in line
    const bool verbose = debugLoggingLevel() > 1;
    if (verbose) {
        debugLog(1, "Existing SpotlightData for file %@\n%@",
                 {path, md::MDItemCopyAttributeList(item, kTracedAttributes)});
        debugLog(1, "Data to Index from plist: %@", {tags});
    }

    syncPresence(tags, TagKeys::kAnnotation, kComment,
                 "Writing Comment \"%@\" to Spotlight for MessageFile %@", item, path);
    if (!md::MDItemCopyAttribute(item, kLegacyProject).isNull())
        (void)md::MDItemRemoveAttribute(item, kLegacyProject);
    syncProject(tags.get(TagKeys::kProject), item, path);

    const Value keywords = tags.get(TagKeys::kKeyWords);
    if (keywords.isArray() && !keywords.array()->empty()) {
        debugLog(0, "Writing keywords \"%@\" to Spotlight for MessageFile %@", {keywords, path});
        write(path, kKeywords, keywords);
    } else {
        removeTag(kKeywords, item, path);
    }

    const Value priority = tags.get(TagKeys::kPriority);
    if (priority.integerValue() > 0) {
        debugLog(0, "Writing Priority \"%@\" in Spotlight for MessageFile %@", {priority, path});
        write(path, kStarRating, priority);
    } else {
        removeTag(kStarRating, item, path);
    }

    syncPresence(tags, TagKeys::kICalUID, TagKeys::kICalUID,
                 "Writing lumettaICalUID \"%@\" in Spotlight for MessageFile %@", item, path);
    syncPresence(tags, TagKeys::kICalCompletionDate, TagKeys::kICalCompletionDate,
                 "Writing lumettaICalCompletionDate \"%@\" in Spotlight for MessageFile %@", item, path);
    syncDueDate(tags, message, item, path);

    if (verbose) {
        if (const md::MDItemRef fresh = md::MDItemCreate(path))
            debugLog(1, "Updated SpotlightData for file %@\n%@",
                     {path, md::MDItemCopyAttributeList(fresh, kTracedAttributes)});
        else
            debugLog(1, "Lumetta: ERROR could not access spotlight data for emlx file: %@", {path});
    }
}

} // namespace lumetta
