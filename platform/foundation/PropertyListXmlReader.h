#pragma once

#include "platform/foundation/Result.h"
#include "platform/foundation/Value.h"

#include <cstddef>
#include <string_view>

namespace platform {

// Reads an XML property list. Message files carry one in every tail and it is read
// on every uncached tag access, so this reader works in one pass over the text with
// no intermediate tree, and it nests with an explicit stack so that hostile depth is
// an error rather than a stack overflow. Integers keep their sign and their unsigned
// 64-bit range; every error names the byte where reading stopped.
class PropertyListXmlReader {
public:
    PropertyListXmlReader(std::string_view text, std::size_t maxDepth) : text_(text), maxDepth_(maxDepth) {}

    Result<Value> read();

private:
    struct Tag {
        std::string_view name;
        bool closing = false;
        bool empty = false; // <name/>
    };

    Error fail(std::string_view what) const;
    bool skipMisc(); // white space, comments, processing instructions, DOCTYPE
    Result<Tag> readTag();
    Result<std::string> readText(std::string_view element);
    Result<Value> readScalar(const Tag& tag);

    std::string_view text_;
    std::size_t pos_ = 0;
    std::size_t maxDepth_;
};

} // namespace platform
