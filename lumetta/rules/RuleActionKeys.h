#pragma once

namespace lumetta {

// The keys under which a rule keeps its tag actions in its extra dictionary, saved with
// the rule by the host. Boolean actions hold the strings "YES" or "NO", and only "YES"
// switches them on.
namespace RuleActionKeys {
inline constexpr const char* kShouldClearAll = "LumettaShouldClearAll";
inline constexpr const char* kShouldClearKeywords = "LumettaShouldClearKeywords";
inline constexpr const char* kShouldClearDueDate = "LumettaShouldClearDueDate";
inline constexpr const char* kAddKeywords = "LumettaAddKeywords";
inline constexpr const char* kRemoveKeywords = "LumettaRemoveKeywords";
inline constexpr const char* kProject = "LumettaProject";
inline constexpr const char* kPriority = "LumettaPriority";
inline constexpr const char* kSetDueDate = "LumettaSetDueDate";
inline constexpr const char* kDueDateOffset = "LumettaDueDateOffset";
inline constexpr const char* kDueDateFromExisting = "LumettaDueDateFromExisting";
inline constexpr const char* kComment = "LumettaComment";
inline constexpr const char* kCommentLocation = "LumettaCommentLocation";
inline constexpr const char* kMarkUnread = "MarkUnread";
inline constexpr const char* kMarkUnflagged = "MarkUnflagged";

inline constexpr const char* kYes = "YES";
inline constexpr const char* kNo = "NO";
// Where a note goes.
inline constexpr const char* kAppend = "append";
inline constexpr const char* kPrepend = "prepend";
inline constexpr const char* kReplace = "replace";
// The words "LumettaSetDueDate" takes besides a date.
inline constexpr const char* kDueNone = "None";
inline constexpr const char* kDueOn = "On";
inline constexpr const char* kDueOff = "Off";

// The host's message-flag bits that "MarkUnread" and "MarkUnflagged" stand for.
inline constexpr unsigned kReadFlag = 1u << 0;
inline constexpr unsigned kFlaggedFlag = 1u << 4;
} // namespace RuleActionKeys

} // namespace lumetta
