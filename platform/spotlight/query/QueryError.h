#pragma once

#include "platform/foundation/Result.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace platform::spotlight {

// Errors in query text: the message says what is wrong, the error's code is the byte offset
// where it is, so a caller can point at it.
class QueryError {
public:
    static Error at(std::size_t position, std::string message);
    static std::size_t position(const Error& error);
    // The query's line that holds the error, and under it a caret at the error and the
    // message, for a terminal:
    //     kMDItemKeywords == "Work
    //                        ^ this quote is never closed
    static std::string render(std::string_view query, const Error& error);
};

} // namespace platform::spotlight
