#pragma once

#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Result.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace platform {

// A bundle's table of user-visible strings (a .strings file in property-list form):
// the English text is the key, and the caller's fallback covers keys not in the table.
class StringsTable {
public:
    StringsTable() = default;
    static Result<StringsTable> load(const std::filesystem::path& path);

    std::string lookup(std::string_view key, std::string_view fallback) const;

private:
    explicit StringsTable(Dictionary entries) : entries_(std::move(entries)) {}
    Dictionary entries_;
};

} // namespace platform
