#pragma once

#include "platform/foundation/Date.h"
#include "platform/foundation/Result.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mailhost {

// The header block of one message, read once and kept as UTF-8 text.
//
// Values are unfolded and decoded: RFC 2047 encoded words in any charset GMime knows
// become UTF-8, and raw 8-bit text is read as UTF-8 when it is valid UTF-8 and as
// Windows-1252/Latin-1 otherwise. Field names keep their spelling and are looked up
// ignoring ASCII case. Only the header block is parsed, so a message of any size
// costs the same; a header block without a body is a complete input.
class MessageHeaders {
public:
    using Field = std::pair<std::string, std::string>;

    // Fails on empty input, on bytes that do not start with a header field and on a
    // header block with no fields.
    [[nodiscard]] static platform::Result<MessageHeaders> parse(std::string_view messageBytes);

    std::optional<std::string> firstHeaderForKey(std::string_view name) const;
    // Every value of the field, in the order of the message (Received, say).
    std::vector<std::string> headersForKey(std::string_view name) const;
    // Every field with its decoded value, in the order of the message.
    const std::vector<Field>& all() const { return fields_; }

    // The convenience readings below give "" when the message lacks the field.
    std::string subject() const;
    // Addresses in their display form, names decoded: "Philipp Katz <philipp@example.com>";
    // several addresses are separated by ", ". Every To (Cc) field of the message counts.
    std::string from() const;
    std::string to() const;
    std::string cc() const;
    // The people of an address field (every field of that name), one entry each with the
    // decoded display name ("" when there is none) and the address; the members of a
    // group count one by one. The metadata index lists authors and recipients this way.
    struct Person {
        std::string name;
        std::string address;
    };
    std::vector<Person> people(std::string_view name) const;
    // The "message-id" value as the message carries it, angle brackets included
    // ("<id@host>"): the form the library's index stores and matches on.
    std::string messageID() const;
    // The same identifier without brackets, white space or comments ("id@host").
    std::string messageIDWithoutBrackets() const;
    // The Date field; nothing when it is missing or cannot be read as a date.
    std::optional<platform::Date> dateSent() const;

private:
    const std::string* rawValue(std::string_view name) const;
    std::string addresses(std::string_view name, bool everyField) const;

    std::vector<Field> fields_;
    // The undecoded values, index for index: address lists must be split before their
    // encoded words are decoded, or a comma inside a name would split it.
    std::vector<std::string> rawValues_;
};

} // namespace mailhost
