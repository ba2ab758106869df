#pragma once

#include <string_view>

namespace lumetta {

// The tag criteria's types, in one block above the host's own, and the identifiers
// they are saved under. 4007 and 4009 are the editor's negative forms of 4006 and
// 4008: saved criteria never carry them, but they are still answered as aliases.
namespace TagCriterionTypes {
inline constexpr int kAnnotation = 4001;
inline constexpr int kDueDate = 4002;
inline constexpr int kProject = 4003;
inline constexpr int kPriority = 4004;
inline constexpr int kKeyWord = 4005;
inline constexpr int kToDoLink = 4006;
inline constexpr int kNoToDoLink = 4007;
inline constexpr int kToDoCompleted = 4008;
inline constexpr int kToDoNotCompleted = 4009;
inline constexpr int kFirst = kAnnotation;
inline constexpr int kLast = kToDoNotCompleted;

inline constexpr std::string_view kAnnotationIdentifier = "Lumetta Comment";
inline constexpr std::string_view kDueDateIdentifier = "Lumetta Due Date";
inline constexpr std::string_view kProjectIdentifier = "Lumetta Project";
inline constexpr std::string_view kPriorityIdentifier = "Lumetta Priority";
inline constexpr std::string_view kKeyWordIdentifier = "Lumetta KeyWord";
inline constexpr std::string_view kToDoLinkIdentifier = "Lumetta iCal ToDo Link";
inline constexpr std::string_view kToDoCompletedIdentifier = "Lumetta ToDo Completed";
// Older short forms, still read.
inline constexpr std::string_view kShortAnnotationIdentifier = "Comment";
inline constexpr std::string_view kShortDueDateIdentifier = "Due Date";
inline constexpr std::string_view kShortProjectIdentifier = "Project";

inline bool isTagType(int type) {
    return type >= kFirst && type <= kLast;
}
} // namespace TagCriterionTypes

} // namespace lumetta
