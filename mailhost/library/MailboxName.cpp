#include "mailhost/library/MailboxName.h"

#include <cstdio>

namespace mailhost {

namespace {

bool isControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

platform::Error refused(std::string_view name, const std::string& why) {
    return platform::makeError(MailboxName::quoted(name) + " is not a mailbox name: " + why);
}

} // namespace

platform::Result<void> MailboxName::checkText(std::string_view name) {
    if (name.empty())
        return refused(name, "it is empty");
    for (const char c : name)
        if (isControl(c))
            return refused(name, "it holds a control character (a line break, a tab or the like)");
    return {};
}

platform::Result<void> MailboxName::check(std::string_view name) {
    if (auto text = checkText(name); !text)
        return text;
    if (name.front() == '/')
        return refused(name, "it begins with \"/\"; mailboxes are named within the library, e.g. "
                             "Projects/Apollo");
    std::size_t start = 0;
    for (;;) {
        const std::size_t slash = name.find('/', start);
        const std::string_view part =
            name.substr(start, slash == std::string_view::npos ? name.npos : slash - start);
        if (part.empty())
            return refused(name, "it has an empty part (\"//\" or a \"/\" at the end)");
        if (part == "." || part == "..")
            return refused(name, "a part of it is \"" + std::string(part) +
                                     "\"; mailboxes are named within the library, e.g. Projects/Apollo");
        if (slash == std::string_view::npos)
            return {};
        start = slash + 1;
    }
}

std::string MailboxName::quoted(std::string_view name) {
    std::string out = "\"";
    for (const char c : name) {
        if (c == '\n')
            out += "\\n";
        else if (c == '\t')
            out += "\\t";
        else if (c == '\r')
            out += "\\r";
        else if (isControl(c)) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\x%02X", static_cast<unsigned char>(c));
            out += escape;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

} // namespace mailhost
