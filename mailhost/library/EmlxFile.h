#pragma once

#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Result.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace mailhost {

// One message file as the mail client stores it (.emlx, .partial.emlx):
//
//     <N, left-justified, usually padded with blanks to 10 characters>\n
//     <exactly N bytes of message, LF line endings, its final LF counted>
//     <XML property list, no separator, ending "</plist>\n">
//
// Reading sorts damage into two kinds. A file without a usable count line is not a
// message file at all: read() and parse() return an error. A file whose count line
// is sound but whose property list is missing, unparseable, or not where the count
// says (the count runs past the end of the file) is still a message file: the
// result holds an EmlxFile whose condition() and problem() say what is wrong, whose
// plist() is empty, and whose message bytes are what is there. Readers treat such a
// file as one without a property list; writers refuse one whose count cannot be
// trusted (refusesWrites()), since a new property list written after the counted
// bytes would replace message text.
class EmlxFile {
public:
    enum class Condition {
        Ok,
        // Nothing (or only white space) follows the message.
        MissingPropertyList,
        // Something follows the message but it is not a property-list dictionary.
        UnreadablePropertyList,
        // The count line promises more message bytes than the file holds.
        Truncated,
        // What follows the counted bytes is neither white space nor anything like a
        // property list: the count is too small (0, say) and message text goes on
        // after it.
        Miscounted,
    };

    // The first line: its length including the LF, and the byte count it states.
    struct CountLine {
        std::size_t length = 0;
        std::uint64_t count = 0;
    };

    // The longest first line accepted, its line feed included: ten characters of
    // count and padding, as the client writes them. The plug-in finds the property
    // list by these eleven bytes alone; a file whose count line is longer reads as
    // having no tags there, so the host must not read a property list from it either
    // (it would put tags into the index that no search by the tags can find).
    static constexpr std::size_t kMaxCountLine = 11;

    [[nodiscard]] static platform::Result<EmlxFile> read(const std::filesystem::path& path);
    [[nodiscard]] static platform::Result<EmlxFile> parse(std::string bytes);

    // Reads the count line at the start of `head` (the first bytes of a file).
    [[nodiscard]] static platform::Result<CountLine> parseCountLine(std::string_view head);

    // A new message file: count line padded to 10 characters as the client writes
    // it, the message, then the property list.
    [[nodiscard]] static platform::Result<std::string> compose(std::string_view messageBytes,
                                                               const platform::Dictionary& plist);
    // The keys of a property list that belong to the message itself, to go with it into a
    // new file (a colour, a plug-in's tags, what other clients wrote): all but the flags
    // and the arrival date, which the new file states anew, and the server's identifier,
    // which names the copy on the server, not the new one.
    static platform::Dictionary messageProperties(const platform::Dictionary& plist);
    // The property-list tail for `plist`, exactly as the client writes it.
    [[nodiscard]] static platform::Result<std::string> tailBytes(const platform::Dictionary& plist);

    Condition condition() const { return condition_; }
    bool ok() const { return condition_ == Condition::Ok; }
    // Whether a write after the counted bytes would destroy message text: true for a
    // truncated or miscounted file, which is left exactly as it is.
    bool refusesWrites() const {
        return condition_ == Condition::Truncated || condition_ == Condition::Miscounted;
    }
    // Empty when the condition is Ok.
    const std::string& problem() const { return problem_; }

    std::size_t messageOffset() const { return messageOffset_; }
    // The message bytes present: the stated count, or fewer in a truncated file.
    std::size_t messageLength() const { return messageLength_; }
    std::string_view messageBytes() const;
    // Where the property list starts: the count line's length plus the count. In a
    // truncated file this lies past the end of the file.
    std::size_t tailOffset() const { return tailOffset_; }
    // The bytes from tailOffset() to the end (empty in a truncated file).
    std::string_view rawTail() const;
    // The property list; an empty dictionary unless condition() is Ok.
    platform::Dictionary plist() const { return plist_; }
    // The whole file.
    const std::string& bytes() const { return bytes_; }

private:
    EmlxFile() = default;

    std::string bytes_;
    std::size_t messageOffset_ = 0;
    std::size_t messageLength_ = 0;
    std::size_t tailOffset_ = 0;
    platform::Dictionary plist_;
    Condition condition_ = Condition::Ok;
    std::string problem_;
};

} // namespace mailhost
