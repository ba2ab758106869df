#include "mailhost/cli/BuildReport.h"

#include "platform/foundation/PropertyList.h"

#include <fstream>
#include <iterator>
#include <sstream>
#include <unicode/uversion.h>

namespace mailhost {

namespace fs = std::filesystem;

namespace {

// A message file starts with its byte count on a line of its own; the property list
// follows the message bytes.
bool tailParses(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const auto newline = bytes.find('\n');
    if (newline == std::string::npos)
        return false;
    const platform::Value count(bytes.substr(0, newline));
    const auto start = newline + 1 + static_cast<std::size_t>(count.integerValue());
    if (count.integerValue() <= 0 || start >= bytes.size())
        return false;
    auto plist = platform::PropertyList::parse(std::string_view(bytes).substr(start));
    return plist.ok() && plist.value().isDictionary();
}

} // namespace

std::string BuildReport::versionLine() {
    return std::string("lumetta ") + LUMETTA_VERSION;
}

std::string BuildReport::describe(const fs::path& root) {
    std::ostringstream out;
    out << versionLine() << "\n";
    out << "built: platform (values, property lists, defaults, run loop, text on ICU " << U_ICU_VERSION
        << ", method seams, SQLite, metadata index and queries, Apple Events)\n";
    out << "       mail host (library, Envelope Index, journaled writes, GMime, import, criteria, smart "
           "mailboxes, rules, viewer commands)\n";
    out << "       calendar application (lumetta-calendar over vdir to-dos)\n";
    out << "       Lumetta plug-in bundle (tags in files and index, tag criteria, rule actions, to-do link, "
           "bulk commands, tag lists)\n";
    out << "not yet built: desktop client (windows, menus, tag panel, compose panel)\n";
    std::error_code ec;
    if (!fs::is_directory(root, ec)) {
        out << "library " << root.string() << ": not found\n";
        return out.str();
    }
    int mailboxes = 0, messages = 0, readable = 0;
    for (auto it = fs::recursive_directory_iterator(root, ec);
         !ec && it != fs::recursive_directory_iterator(); it.increment(ec)) {
        const auto& path = it->path();
        if (it->is_directory() && path.extension() == ".mbox")
            ++mailboxes;
        else if (it->is_regular_file() && path.extension() == ".emlx") {
            ++messages;
            readable += tailParses(path) ? 1 : 0;
        }
    }
    out << "library " << root.string() << ": " << mailboxes << " mailbox folders, " << messages
        << " message files, " << readable << " with a readable property list\n";
    return out.str();
}

} // namespace mailhost
