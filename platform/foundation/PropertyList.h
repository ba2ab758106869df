#pragma once

#include "platform/foundation/Result.h"
#include "platform/foundation/Value.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace platform {

// Reading and writing property lists.
//
// Parsing accepts XML and binary property lists and never trusts its input: anything
// malformed, nested deeper than kMaxDepth, larger than kMaxInputBytes or (binary)
// expanding past kMaxObjects through shared references is an error value.
//
// Writing produces XML exactly as the mail client writes its files: the standard
// header and DOCTYPE, tab indentation, dictionary keys sorted, integers in decimal,
// reals as "0.0" for zero and otherwise with 17 significant digits, dates as
// YYYY-MM-DDTHH:MM:SSZ in GMT, and only '&', '<' and '>' escaped in text.
class PropertyList {
public:
    static constexpr std::size_t kMaxDepth = 512;
    static constexpr std::size_t kMaxInputBytes = 64u * 1024 * 1024;
    static constexpr std::size_t kMaxObjects = 1u << 22;

    static Result<Value> parse(std::span<const std::uint8_t> bytes);
    static Result<Value> parse(std::string_view bytes);

    // Fails on values a property list cannot hold (null) and on nesting deeper than
    // kMaxDepth.
    static Result<std::string> xml(const Value& value);
};

} // namespace platform
