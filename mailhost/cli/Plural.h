#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace mailhost {

// A count with its noun as the command line prints it: "1 message", "2 messages",
// "0 mailboxes". Every count the commands print goes through here, so none reads
// "1 messages".
class Plural {
public:
    // `plural` defaults to `singular` with an "s".
    static std::string of(std::size_t n, std::string_view singular, std::string_view plural = {});
};

} // namespace mailhost
