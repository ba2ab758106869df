#include "platform/spotlight/query/QueryError.h"

#include <algorithm>
#include <climits>

namespace platform::spotlight {

Error QueryError::at(std::size_t position, std::string message) {
    return makeError(std::move(message), static_cast<int>(std::min<std::size_t>(position, INT_MAX)));
}

std::size_t QueryError::position(const Error& error) {
    return error.code > 0 ? static_cast<std::size_t>(error.code) : 0;
}

std::string QueryError::render(std::string_view query, const Error& error) {
    const std::size_t at = std::min(position(error), query.size());
    const std::size_t newline = at == 0 ? std::string_view::npos : query.rfind('\n', at - 1);
    const std::size_t begin = newline == std::string_view::npos ? 0 : newline + 1;
    std::size_t end = query.find('\n', at);
    if (end == std::string_view::npos)
        end = query.size();
    std::string_view line = query.substr(begin, end - begin);
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    // One column per character: tabs are copied so that the caret lines up under them, and
    // the continuation bytes of UTF-8 take no column.
    std::string caret;
    for (std::size_t i = begin; i < at; ++i) {
        const auto byte = static_cast<unsigned char>(query[i]);
        if (byte == '\t')
            caret += '\t';
        else if ((byte & 0xC0) != 0x80)
            caret += ' ';
    }
    return std::string(line) + "\n" + caret + "^ " + error.message;
}

} // namespace platform::spotlight
