#include "mailhost/import/EmlSource.h"

#include "mailhost/import/InputFile.h"
#include "mailhost/library/EmlxFile.h"
#include "platform/foundation/PropertyList.h"

#include <string_view>

namespace mailhost {

namespace {

// A message starts with a header field: a name of printable characters, then ':'.
bool looksLikeMessage(std::string_view bytes) {
    const std::size_t colon = bytes.find(':');
    if (colon == 0 || colon == std::string_view::npos || colon > 200) {
        return false;
    }
    for (char c : bytes.substr(0, colon)) {
        if (c <= ' ' || c > '~') {
            return false;
        }
    }
    return true;
}

// The mail client's flags word: bit 0 read, 1 deleted, 2 answered, 4 flagged,
// 6 draft, 8 forwarded.
void applyFlags(std::uint64_t flags, ImportedMessage& out) {
    out.read = (flags & (1u << 0)) != 0;
    out.deleted = (flags & (1u << 1)) != 0;
    out.answered = (flags & (1u << 2)) != 0;
    out.flagged = (flags & (1u << 4)) != 0;
    out.draft = (flags & (1u << 6)) != 0;
    out.forwarded = (flags & (1u << 8)) != 0;
}

} // namespace

EmlSource::EmlSource(std::filesystem::path path, Format format, std::uint64_t total,
                     std::uint64_t maxMessageBytes)
    : path_(std::move(path)), format_(format), total_(total), maxMessageBytes_(maxMessageBytes) {}

platform::Result<std::unique_ptr<EmlSource>> EmlSource::open(const std::filesystem::path& path,
                                                             std::uint64_t maxMessageBytes) {
    auto file = LUMETTA_TRY(InputFile::open(path));
    const Format format = path.extension() == ".emlx" ? Format::Emlx : Format::Eml;
    return std::unique_ptr<EmlSource>(new EmlSource(path, format, file.size(), maxMessageBytes));
}

platform::Result<bool> EmlSource::next(ImportedMessage& out) {
    if (done_) {
        return false;
    }
    done_ = true;
    out = ImportedMessage{};
    out.origin = path_.string();
    auto file = LUMETTA_TRY(InputFile::open(path_));
    out.receivedDate = file.modificationDate();
    // The count line and property list of an .emlx add little to its message.
    auto bytes = LUMETTA_TRY(file.readAll(maxMessageBytes_ + (format_ == Format::Emlx ? 64 * 1024 : 0)));
    if (format_ == Format::Emlx) {
        return takeEmlx(std::move(bytes), out);
    }
    if (!looksLikeMessage(bytes)) {
        return platform::makeError(out.origin + ": the file does not look like a mail message");
    }
    out.bytes = std::move(bytes);
    return true;
}

platform::Result<bool> EmlSource::takeEmlx(std::string file, ImportedMessage& out) const {
    const std::size_t lineEnd = file.find('\n');
    std::size_t digits = 0;
    while (digits < file.size() && file[digits] >= '0' && file[digits] <= '9') {
        ++digits;
    }
    const std::string_view padding = lineEnd == std::string::npos
                                         ? std::string_view()
                                         : std::string_view(file).substr(digits, lineEnd - digits);
    if (digits == 0 || digits > 15 || lineEnd == std::string::npos ||
        padding.find_first_not_of(" \t\r") != std::string_view::npos) {
        return platform::makeError(out.origin +
                                   ": the file does not start with the byte count of its message");
    }
    const std::uint64_t count = std::stoull(file.substr(0, digits));
    const std::size_t start = lineEnd + 1;
    if (count > file.size() - start) {
        return platform::makeError(out.origin + ": the byte count says " + std::to_string(count) +
                                   " bytes, but only " + std::to_string(file.size() - start) + " follow");
    }
    if (count > maxMessageBytes_) {
        return platform::makeError(out.origin + ": the message is too large; skipped");
    }
    out.byteOffset = start;
    const std::string_view tail = std::string_view(file).substr(start + count);
    if (!tail.empty()) {
        // A damaged property list costs the flags and dates, never the message.
        if (auto plist = platform::PropertyList::parse(tail);
            plist && plist.value().dictionary() != nullptr) {
            const platform::Dictionary& record = *plist.value().dictionary();
            applyFlags(record.get("flags").unsignedValue(), out);
            const platform::Value received = record.get("date-received");
            if (received.isNumber() && received.doubleValue() > 0) {
                out.receivedDate = platform::Date::fromUnix(received.doubleValue());
            }
            // The mailbox it came from means nothing in this library.
            out.properties = EmlxFile::messageProperties(record);
            out.properties.remove("original-mailbox");
        }
    }
    file.erase(start + count);
    file.erase(0, start);
    if (!looksLikeMessage(file)) {
        return platform::makeError(out.origin + ": the file does not look like a mail message");
    }
    out.bytes = std::move(file);
    return true;
}

} // namespace mailhost
