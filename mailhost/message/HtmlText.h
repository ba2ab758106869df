#pragma once

#include <string>
#include <string_view>

namespace mailhost {

// The readable text of an HTML body, for the full-text index: tags dropped, the
// contents of head, script and style left out, character references decoded, white
// space collapsed as a browser would, and block elements (paragraphs, line breaks,
// list items, table rows, headings) starting new lines. Never fails: malformed markup
// reads as text up to where it stops making sense.
std::string htmlToText(std::string_view html);

} // namespace mailhost
