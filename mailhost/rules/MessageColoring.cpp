#include "mailhost/rules/MessageColoring.h"

#include "mailhost/library/EmlxFile.h"
#include "platform/foundation/Log.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Send.h"

#include <array>
#include <cctype>
#include <utility>

namespace mailhost {

using platform::Dictionary;

namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 8> kNamed = {{
    {"red", "#FF0000"},
    {"orange", "#FF8000"},
    {"yellow", "#FFFF00"},
    {"green", "#00C000"},
    {"blue", "#0000FF"},
    {"purple", "#8000FF"},
    {"gray", "#808080"},
    {"grey", "#808080"},
}};

std::string lower(std::string_view text) {
    std::string out(text);
    for (char& c : out)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return out;
}

// The message file again, through the seams the client writes every file with, so that
// what hooks them (a bundle merging its tags) takes part.
bool rewrite(Class& library, LibraryMessage& message, const std::string& path, const EmlxFile& file,
             const Dictionary& plist) {
    const Envelope& e = message.envelope();
    auto bytes = platform::runtime::sendClass<std::string>(
        library,
        "plistDataForMessage:subject:sender:to:dateSent:remoteID:originalMailbox:flags:mergeWithDictionary:",
        static_cast<Message*>(&message), e.subject, e.sender, e.recipients, e.dateSent, e.remoteID,
        std::string(), static_cast<std::uint64_t>(message.flags()), plist);
    if (!bytes || bytes->empty())
        return false;
    return platform::runtime::sendClass<bool>(
               library, "_writeEmlxFile:forMessage:withBodyData:plistData:", std::string(path),
               static_cast<Message*>(&message), file.messageBytes(), std::move(*bytes))
        .value_or(false);
}

} // namespace

std::optional<std::string> MessageColoring::hexFor(std::string_view color) {
    const std::string name = lower(color);
    for (const auto& [known, hex] : kNamed)
        if (name == known)
            return std::string(hex);
    if (name.size() != 7 || name[0] != '#')
        return std::nullopt;
    std::string hex = "#";
    for (std::size_t i = 1; i < name.size(); ++i) {
        if (!std::isxdigit(static_cast<unsigned char>(name[i])))
            return std::nullopt;
        hex += static_cast<char>(std::toupper(static_cast<unsigned char>(name[i])));
    }
    return hex;
}

void MessageColoring::apply(const MessageList& messages, std::string_view color) {
    const auto hex = hexFor(color);
    if (!hex) {
        platform::Log::line("A rule's colour \"" + std::string(color) +
                            "\" is not a colour; nothing coloured");
        return;
    }
    Class* library = platform::runtime::Runtime::classNamed(Library::kClassName);
    Library* open = Library::current();
    if (!library || !open)
        return;
    // Each file is read and rewritten under the library's write lock, so that a change
    // another process makes meanwhile is not written over.
    if (auto locked = open->lockWrites(); !locked) {
        platform::Log::line("Could not colour messages: " + locked.error().message);
        return;
    }
    Library::FileWriteScope writing;
    for (const auto& m : messages) {
        auto* stored = dynamic_cast<LibraryMessage*>(m.get());
        if (!stored)
            continue;
        const std::string path = Library::dataPathForMessage(stored);
        auto file = EmlxFile::read(path);
        if (!file || !file.value().ok()) {
            platform::Log::line("Could not colour " + path + ": " +
                                (file ? file.value().problem() : file.error().message));
            continue;
        }
        Dictionary plist = file.value().plist().mutableCopy();
        if (plist.get(kPlistKey).stringValue() == *hex)
            continue;
        plist.set(kPlistKey, *hex);
        if (!rewrite(*library, *stored, path, file.value(), plist))
            platform::Log::line("Could not colour " + path);
    }
    open->unlockWrites();
}

} // namespace mailhost
