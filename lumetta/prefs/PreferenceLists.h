#pragma once

#include "platform/foundation/Array.h"

#include <string>
#include <vector>

namespace lumetta {

// The user's keyword and project lists: settings holding arrays of dictionaries whose
// "title" is the keyword or project ("-" in the project list stands for a separator).
// Menus, panels, dialogs and editors read them; whoever changes one announces it, so
// those rebuild what they show.
class PreferenceLists {
public:
    static constexpr const char* kKeyWords = "lumettaKeyWords";
    static constexpr const char* kProjects = "lumettaProjects";
    static constexpr const char* kTitle = "title";
    static constexpr const char* kSeparator = "-";
    static constexpr const char* kKeywordListWasModified = "LUKeywordListWasModified";
    static constexpr const char* kProjectListWasModified = "LUProjectListWasModified";
    static constexpr const char* kKeywordArray = "keywordArray";

    // The list stored under `key`; empty when there is none.
    static platform::Array list(const std::string& key);
    // The entries' titles in order; entries without a title are left out.
    static std::vector<std::string> titles(const std::string& key);
    // Appends {"title": title} to a copy of the stored list and stores the copy.
    static void append(const std::string& key, const std::string& title);

    // Keyword changes carry the list; project changes carry nothing.
    static void postKeywordListModified(const platform::Array& keywords);
    static void postKeywordListModified();
    static void postProjectListModified();
};

} // namespace lumetta
