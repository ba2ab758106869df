#include "platform/foundation/StringsTable.h"

#include "platform/foundation/PropertyList.h"

#include <fstream>
#include <iterator>

namespace platform {

Result<StringsTable> StringsTable::load(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return makeError("cannot open strings table " + path.string());
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    auto parsed = PropertyList::parse(bytes);
    if (!parsed)
        return makeError("strings table " + path.string() + ": " + parsed.error().message);
    const Dictionary* dict = parsed.value().dictionary();
    if (!dict)
        return makeError("strings table " + path.string() + " is not a dictionary");
    Dictionary strings;
    for (const auto& [key, value] : dict->entries())
        if (value.isString())
            strings.set(key, value);
    return StringsTable(strings);
}

std::string StringsTable::lookup(std::string_view key, std::string_view fallback) const {
    const Value v = entries_.get(key);
    return v.isString() ? *v.string() : std::string(fallback);
}

} // namespace platform
