#pragma once

#include "platform/foundation/Result.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace platform {

// One element of a parsed document. Character data is kept as one string per
// element, in document order and with entities decoded, because the interface
// files this serves never mix text and child elements in a way that matters.
struct XmlElement {
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes; // in document order
    std::string text;                                            // concatenated character data
    std::vector<XmlElement> children;
    std::size_t line = 0; // where the start tag begins, for error messages further up

    // The attribute's value, or an empty string when the element has none by that name.
    std::string attribute(std::string_view attributeName) const;
    bool hasAttribute(std::string_view attributeName) const;
    // The first child element with that name, or null.
    const XmlElement* child(std::string_view childName) const;
};

// A small, strict reader for the element structure of an XML document: enough for
// the interface files the plug-in ships, with no validation beyond well-formedness
// and no external entities. Nesting is tracked with an explicit stack and limited,
// so hostile depth is an error instead of a stack overflow; every error names the
// line where reading stopped.
class XmlDocument {
public:
    static constexpr std::size_t kMaxDepth = 256;

    // The root element of the document.
    [[nodiscard]] static Result<XmlElement> parse(std::string_view text);
};

} // namespace platform
