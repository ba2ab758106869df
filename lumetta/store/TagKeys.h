#pragma once

#include <string_view>

namespace lumetta {

// The keys of a message's tag record and of the tag keys in its message file. Every
// key that begins with kTagPrefix is a tag: presence, copying into files and carrying
// across rebuilds are decided by the prefix alone, so a new tag needs no other
// registration.
namespace TagKeys {
inline constexpr std::string_view kTagPrefix = "lumetta";
inline constexpr const char* kKeyWords = "lumettaKeyWords";
inline constexpr const char* kProject = "lumettaProject";
inline constexpr const char* kPriority = "lumettaPriority";
inline constexpr const char* kAnnotation = "lumettaAnnotation";
inline constexpr const char* kDueDate = "lumettaDueDate";
inline constexpr const char* kDueDateState = "lumettaDueDateState";
inline constexpr const char* kShowNoteAsSubject = "lumettaShowNoteAsSubject";
inline constexpr const char* kICalUID = "lumettaICalUID";
inline constexpr const char* kICalToDoTitle = "lumettaICalToDoTitle";
inline constexpr const char* kICalCompletionDate = "lumettaICalCompletionDate";
inline constexpr const char* kICalToDoCompleted = "lumettaICalToDoCompleted";
inline constexpr const char* kGeneralFlag = "lumettaGeneralFlag";
// Bookkeeping, not a tag: the tag keys whose removal from the file is pending.
inline constexpr const char* kTagsToRemove = "__tagsToRemove";
// The project title that means "no project".
inline constexpr std::string_view kNoProject = "None";

inline bool isTagKey(std::string_view key) {
    return key.starts_with(kTagPrefix);
}
} // namespace TagKeys

} // namespace lumetta
