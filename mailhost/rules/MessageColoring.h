#pragma once

#include "mailhost/mail/Library.h"

#include <optional>
#include <string>
#include <string_view>

namespace mailhost {

// Message colours, as rules give them. A message's colour is the key "color" of its
// file's property list, "#RRGGBB" in upper case; message lists paint the row with it.
class MessageColoring {
public:
    static constexpr const char* kPlistKey = "color";

    // "#RRGGBB" for a colour name (red, orange, yellow, green, blue, purple, gray or grey,
    // any case) or a "#rrggbb" text; nothing for anything else.
    static std::optional<std::string> hexFor(std::string_view color);

    // Writes the colour into each library message's file that does not have it yet. The
    // file goes through the client's usual write, so every other key of its property list
    // (the tags of a bundle among them) stays as it is. A colour that does not read
    // changes nothing and is logged.
    static void apply(const MessageList& messages, std::string_view color);
};

} // namespace mailhost
