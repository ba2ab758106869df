#include "mailhost/library/EmlxFile.h"

#include "mailhost/library/RealFileLayer.h"
#include "platform/foundation/PropertyList.h"
#include "platform/foundation/Value.h"

#include <charconv>

using platform::Dictionary;
using platform::makeError;
using platform::Result;

namespace mailhost {

namespace {

// The client pads the count to this width with blanks.
constexpr std::size_t kCountWidth = 10;

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r';
}

bool onlyWhiteSpace(std::string_view s) {
    for (char c : s)
        if (!isBlank(c) && c != '\n')
            return false;
    return true;
}

// Whether bytes after a message begin the way a property list does, in either of its
// forms. A damaged property list may be replaced; message text may not.
bool looksLikePropertyList(std::string_view tail) {
    std::size_t start = 0;
    while (start < tail.size() && (isBlank(tail[start]) || tail[start] == '\n'))
        ++start;
    tail.remove_prefix(start);
    for (std::string_view mark : {"<?xml", "<!DOCTYPE plist", "<plist", "bplist"})
        if (tail.starts_with(mark))
            return true;
    return false;
}

} // namespace

Result<EmlxFile::CountLine> EmlxFile::parseCountLine(std::string_view head) {
    if (head.empty())
        return makeError("the file is empty, not a message file");
    const std::size_t newline = head.substr(0, kMaxCountLine).find('\n');
    if (newline == std::string_view::npos)
        return makeError("the first line is not a byte count: no line ending in its first " +
                         std::to_string(kMaxCountLine) + " bytes");
    std::string_view digits = head.substr(0, newline);
    // Blanks after the number are the client's padding; a CR is tolerated as one.
    while (!digits.empty() && isBlank(digits.back()))
        digits.remove_suffix(1);
    if (digits.empty())
        return makeError("the first line is empty instead of a byte count");
    std::uint64_t count = 0;
    const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), count);
    if (ec == std::errc::result_out_of_range)
        return makeError("the byte count on the first line is too large: " + std::string(digits));
    if (ec != std::errc() || end != digits.data() + digits.size())
        return makeError("the first line is not a byte count: \"" + std::string(digits) + "\"");
    return CountLine{newline + 1, count};
}

Result<EmlxFile> EmlxFile::read(const std::filesystem::path& path) {
    auto bytes = LUMETTA_TRY(RealFileLayer::instance().readWholeFile(path));
    auto file = parse(std::move(bytes));
    if (!file)
        return makeError(path.string() + ": " + file.error().message);
    return file;
}

Result<EmlxFile> EmlxFile::parse(std::string bytes) {
    auto line = LUMETTA_TRY(parseCountLine(bytes));

    EmlxFile file;
    file.bytes_ = std::move(bytes);
    const std::size_t size = file.bytes_.size();
    const std::size_t present = size - line.length;
    file.messageOffset_ = line.length;

    if (line.count > present) {
        file.condition_ = Condition::Truncated;
        file.messageLength_ = present;
        // Saturates rather than wraps: a count near 2^64 must still lie past the end.
        const std::uint64_t stated = line.count;
        file.tailOffset_ = stated > SIZE_MAX - file.messageOffset_ ? SIZE_MAX : file.messageOffset_ + stated;
        file.problem_ = "the message is shorter than its count line says (" + std::to_string(stated) +
                        " bytes stated, " + std::to_string(present) +
                        " present), so the property list cannot be found";
        return file;
    }

    file.messageLength_ = static_cast<std::size_t>(line.count);
    file.tailOffset_ = file.messageOffset_ + file.messageLength_;
    const std::string_view tail = file.rawTail();
    if (onlyWhiteSpace(tail)) {
        file.condition_ = Condition::MissingPropertyList;
        file.problem_ = "no property list follows the message";
        return file;
    }
    auto parsed = platform::PropertyList::parse(tail);
    if (!parsed && !looksLikePropertyList(tail)) {
        file.condition_ = Condition::Miscounted;
        file.problem_ = "the count line says the message has " + std::to_string(file.messageLength_) +
                        " bytes, but message text goes on after them: the count is too small, so the "
                        "file is left as it is";
        return file;
    }
    if (!parsed) {
        file.condition_ = Condition::UnreadablePropertyList;
        file.problem_ = "the property list after the message cannot be read: " + parsed.error().message;
        return file;
    }
    const Dictionary* dict = parsed.value().dictionary();
    if (!dict) {
        file.condition_ = Condition::UnreadablePropertyList;
        file.problem_ = "the property list after the message is not a dictionary";
        return file;
    }
    file.plist_ = *dict;
    return file;
}

Result<std::string> EmlxFile::compose(std::string_view messageBytes, const Dictionary& plist) {
    auto tail = LUMETTA_TRY(tailBytes(plist));
    std::string count = std::to_string(messageBytes.size());
    if (count.size() < kCountWidth)
        count.append(kCountWidth - count.size(), ' ');
    std::string out;
    out.reserve(count.size() + 1 + messageBytes.size() + tail.size());
    out.append(count).append(1, '\n').append(messageBytes).append(tail);
    return out;
}

Dictionary EmlxFile::messageProperties(const Dictionary& plist) {
    Dictionary carried;
    for (const auto& [key, value] : plist.entries())
        if (key != "flags" && key != "date-received" && key != "remote-id")
            carried.set(key, value);
    return carried;
}

Result<std::string> EmlxFile::tailBytes(const Dictionary& plist) {
    auto xml = platform::PropertyList::xml(platform::Value(plist));
    if (!xml)
        return makeError("cannot write the message's property list: " + xml.error().message);
    return xml;
}

std::string_view EmlxFile::messageBytes() const {
    return std::string_view(bytes_).substr(messageOffset_, messageLength_);
}

std::string_view EmlxFile::rawTail() const {
    if (tailOffset_ >= bytes_.size())
        return {};
    return std::string_view(bytes_).substr(tailOffset_);
}

} // namespace mailhost
