#pragma once

#include <string>
#include <string_view>

// Unicode-aware string helpers on ICU. Every function takes and returns UTF-8; ill-formed
// input is read with U+FFFD in place of the bad bytes, so no input makes them fail.
namespace platform::text {

// True when `needle` occurs in `haystack` ignoring case (full Unicode case folding, so
// "STRASSE" is found in "Straße"). The search is literal otherwise: no normalisation.
// An empty needle is never found.
bool containsCaseInsensitive(std::string_view haystack, std::string_view needle);

// Lower case by the root locale's rules (no Turkish dotless i and the like).
std::string lowercase(std::string_view s);

// lowercase(s) begins with lowercase(prefix); an empty prefix begins everything.
bool hasLowercasePrefix(std::string_view s, std::string_view prefix);

// Equality after canonical normalisation, case folding and removal of non-spacing marks:
// "Café" equals "CAFE", and precomposed and decomposed accents equal each other.
bool equalsIgnoringCaseAndDiacritics(std::string_view a, std::string_view b);

// Whole-string match of a shell-like pattern: `*` is any run of characters (possibly
// none), `?` exactly one user-perceived character, and a backslash makes the following
// `*`, `?` or `\` literal. Both sides are compared in canonical composed form. Runs in
// O(text × pattern) time at worst, whatever the pattern.
bool wildcardMatch(std::string_view text, std::string_view pattern, bool caseInsensitive,
                   bool diacriticInsensitive);

// Word-based match, as a metadata-index query with the `w` modifier compares: true when
// the pattern (with wildcards as in wildcardMatch) matches a stretch of the text that
// starts at the start of a word and ends on a word boundary. So "apollo" and "apo*" find
// "Project Apollo launch", but "apo" and "pollo" do not. An empty pattern finds nothing.
bool wordMatch(std::string_view text, std::string_view pattern, bool caseInsensitive,
               bool diacriticInsensitive);

// The form wildcardMatch and wordMatch compare strings in: canonically composed, case folded
// and stripped of non-spacing marks as asked. Two strings are equal under those rules exactly
// when their folded forms are equal byte for byte, so an index can keep the folded form and
// look strings up by it.
std::string fold(std::string_view s, bool caseInsensitive, bool diacriticInsensitive);

// Three-way comparison of the case-folded, canonically composed strings in code point
// order: negative, zero or positive.
int compareCaseInsensitive(std::string_view a, std::string_view b);

} // namespace platform::text
