#include "lumetta/store/SpotlightSync.h"

#include "lumetta/core/DebugLogging.h"
#include "lumetta/store/EmlxTailReader.h"
#include "lumetta/store/LibraryTagPersistence.h"
#include "lumetta/store/TagKeys.h"
#include "mailhost/mail/Library.h"
#include "mailhost/mail/LibraryMessage.h"
#include "mailhost/mail/Matador.h"
#include "mailhost/mail/RecoveredMessage.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/PropertyList.h"
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

// Every attribute the mirror writes or removes.
const std::vector<std::string> kMirrored = {kComment,
                                            kLegacyProject,
                                            kProjects,
                                            kKeywords,
                                            kStarRating,
                                            TagKeys::kICalUID,
                                            TagKeys::kICalCompletionDate,
                                            kDueDate};

// The file's item with its mirrored attributes as they stand, read once: most syncs
// restate what the index already holds, and then neither a write nor a removal is due.
class Mirror {
public:
    Mirror(md::MDItemRef item, std::string path)
        : item_(std::move(item)), path_(std::move(path)),
          before_(md::MDItemCopyAttributeList(item_, kMirrored)) {}

    const md::MDItemRef& item() const { return item_; }
    const std::string& path() const { return path_; }

    // What the writer answers is not looked at: a failed write leaves the attribute as
    // it was, and the next tag change or file write tries again.
    void write(const char* name, const Value& value) {
        if (current(name) != value)
            (void)mailhost::Matador::sharedInstance().setAttributeForFileAtPath(path_, name, value);
    }
    // Clearing what is not there says and does nothing.
    void clear(const char* name) {
        if (current(name).isNull())
            return;
        debugLog(0, "Clearing %@ in Spotlight for MessageFile %@", {name, path_});
        (void)md::MDItemRemoveAttribute(item_, name);
    }
    bool has(const char* name) const { return !current(name).isNull(); }

private:
    Value current(const char* name) const {
        for (std::size_t i = 0; i < kMirrored.size(); ++i)
            if (kMirrored[i] == name)
                return before_.at(i);
        return md::MDItemCopyAttribute(item_, name);
    }

    md::MDItemRef item_;
    std::string path_;
    Array before_;
};

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

void syncProject(const Value& project, Mirror& mirror) {
    if (project.isNull()) {
        mirror.clear(kProjects);
    } else if (const std::string* title = project.string()) {
        if (*title == TagKeys::kNoProject) {
            mirror.clear(kProjects);
        } else {
            debugLog(0, "Writing Project \"%@\" to Spotlight for MessageFile %@", {project, mirror.path()});
            mirror.write(kProjects, Array{project});
        }
    } else if (const Array* titles = project.array()) {
        if (titles->empty() || titles->first() == Value(std::string(TagKeys::kNoProject))) {
            mirror.clear(kProjects);
        } else {
            debugLog(0, "Writing Project \"%@\" to Spotlight for MessageFile %@", {project, mirror.path()});
            mirror.write(kProjects, project);
        }
    }
    // Any other kind of value is no project anyone set through the plug-in: left alone.
}

// The keywords of a tag value as the index holds them: the strings of the array. A file
// edited by another program may hold numbers or dictionaries among them; the keyword
// criteria never match those, so neither may a search of the index.
Array keywordStrings(const Value& keywords) {
    Array strings;
    if (const Array* all = keywords.array())
        for (const Value& keyword : all->items())
            if (keyword.string())
                strings.add(keyword);
    return strings;
}

// A present or absent key mirrored one to one.
void syncPresence(const Dictionary& tags, const char* key, const char* attribute, std::string_view line,
                  Mirror& mirror) {
    const Value value = tags.get(key);
    if (value.isNull()) {
        mirror.clear(attribute);
        return;
    }
    debugLog(0, line, {value, mirror.path()});
    mirror.write(attribute, value);
}

// The due date is written only when there is one to write and the state does not say
// "off"; an absent state does not clear it, so that a dictionary holding only the date
// (an older file) still shows it.
void syncDueDate(const Dictionary& tags, mailhost::Message* message, Mirror& mirror) {
    const Value state = tags.get(TagKeys::kDueDateState);
    Value date = tags.get(TagKeys::kDueDate);
    if (!state.isNull() && state.integerValue() == 0) {
        mirror.clear(kDueDate);
        return;
    }
    if (!state.isNull() && date.isNull()) {
        if (auto file = LibraryTagPersistence::lumettaMetaDataDictionaryFromEmlxFile(nullptr, {},
                                                                                     mirror.path(), message))
            date = file->get(TagKeys::kDueDate);
    }
    if (date.isNull())
        return;
    debugLog(0, "Writing DueDate \"%@\" to Spotlight for MessageFile %@", {date, mirror.path()});
    mirror.write(kDueDate, date);
}

// Files the host took into the index as they lie on disk carry tags nobody has written
// through the store yet: they are mirrored from what the files hold, read as the store
// reads them, so that a search finds exactly what the tag criteria see.
void mirrorIndexedFiles(const platform::Notification& note) {
    const Value paths = note.userInfo.get("paths");
    if (!paths.isArray())
        return;
    for (const Value& entry : paths.array()->items()) {
        const std::string* path = entry.string();
        if (!path)
            continue;
        Dictionary tags;
        if (auto tail = EmlxTailReader::read(*path); tail && !tail->empty())
            if (auto parsed = platform::PropertyList::parse(*tail); parsed && parsed.value().isDictionary())
                tags = *parsed.value().dictionary();
        SpotlightSync::lumettaUpdateSpotlightForDictionary(nullptr, {}, tags, nullptr, *path);
    }
}

} // namespace

void SpotlightSync::load() {
    if (Class* cls = platform::runtime::Runtime::classNamed(mailhost::Library::kClassName)) {
        cls->addClassMethod("lumettaUpdateSpotlightForDictionary:andMessage:atEmlxPath:",
                            &lumettaUpdateSpotlightForDictionary);
        cls->addClassMethod("lumettaRemoveTag:forMDRef:andPath:", &lumettaRemoveTag);
    }
    platform::NotificationCenter::defaultCenter().addObserver(
        std::string(mailhost::Library::kMessageFilesIndexedNotification), nullptr, &mirrorIndexedFiles);
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

    Mirror mirror(item, path);
    syncPresence(tags, TagKeys::kAnnotation, kComment,
                 "Writing Comment \"%@\" to Spotlight for MessageFile %@", mirror);
    if (mirror.has(kLegacyProject))
        (void)md::MDItemRemoveAttribute(item, kLegacyProject);
    syncProject(tags.get(TagKeys::kProject), mirror);

    const Array keywords = keywordStrings(tags.get(TagKeys::kKeyWords));
    if (!keywords.empty()) {
        debugLog(0, "Writing keywords \"%@\" to Spotlight for MessageFile %@", {Value(keywords), path});
        mirror.write(kKeywords, Value(keywords));
    } else {
        mirror.clear(kKeywords);
    }

    const Value priority = tags.get(TagKeys::kPriority);
    if (priority.integerValue() > 0) {
        debugLog(0, "Writing Priority \"%@\" in Spotlight for MessageFile %@", {priority, path});
        mirror.write(kStarRating, priority);
    } else {
        mirror.clear(kStarRating);
    }

    syncPresence(tags, TagKeys::kICalUID, TagKeys::kICalUID,
                 "Writing lumettaICalUID \"%@\" in Spotlight for MessageFile %@", mirror);
    syncPresence(tags, TagKeys::kICalCompletionDate, TagKeys::kICalCompletionDate,
                 "Writing lumettaICalCompletionDate \"%@\" in Spotlight for MessageFile %@", mirror);
    syncDueDate(tags, message, mirror);

    if (verbose) {
        if (const md::MDItemRef fresh = md::MDItemCreate(path))
            debugLog(1, "Updated SpotlightData for file %@\n%@",
                     {path, md::MDItemCopyAttributeList(fresh, kTracedAttributes)});
        else
            debugLog(1, "Lumetta: ERROR could not access spotlight data for emlx file: %@", {path});
    }
}

} // namespace lumetta
