#pragma once

#include <optional>
#include <string>

namespace lumetta {

// Reads the property-list bytes at the end of a message file without reading the
// message: the first eleven bytes must hold the message's byte count and the line
// feed that ends it (so a count of eleven or more digits is refused), and everything
// after the message is the property list. Any file that does not fit, or that cannot
// be opened or read, gives nullopt; the tag store treats it as a file without tags.
class EmlxTailReader {
public:
    static constexpr std::size_t kCountLineBytes = 11;

    // `opened`, when given, tells a caller with other places to look whether the file
    // could be opened at all.
    static std::optional<std::string> read(const std::string& path, bool* opened = nullptr);
};

} // namespace lumetta
