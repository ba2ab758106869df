#include "mailhost/message/MessageHeaders.h"

#include "mailhost/message/GMimeSupport.h"

#include <algorithm>
#include <memory>

namespace mailhost {

namespace {

bool sameName(std::string_view a, std::string_view b) {
    return a.size() == b.size() && g_ascii_strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// The header block ends at the first empty line; the body is never handed to GMime,
// which keeps header reading cheap for large messages.
std::string_view headerBlock(std::string_view bytes) {
    std::size_t searchFrom = 0;
    while (true) {
        const std::size_t newline = bytes.find('\n', searchFrom);
        if (newline == std::string_view::npos) {
            return bytes;
        }
        const std::size_t next = newline + 1;
        if (next < bytes.size() && (bytes[next] == '\n' || bytes.substr(next, 2) == "\r\n")) {
            return bytes.substr(0, next);
        }
        searchFrom = next;
    }
}

std::string trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos) {
        return {};
    }
    const auto last = text.find_last_not_of(" \t\r\n");
    return std::string(text.substr(first, last - first + 1));
}

// Each line break of a folded value, with the white space that continues the line,
// reads as one space: what a reader of the message sees.
std::string unfolded(std::string_view raw) {
    std::string out;
    out.reserve(raw.size());
    for (std::size_t i = 0; i < raw.size(); ++i) {
        const char c = raw[i];
        if (c == '\r' || c == '\n') {
            while (i + 1 < raw.size() && (raw[i + 1] == '\r' || raw[i + 1] == '\n')) {
                ++i;
            }
            if (i + 1 < raw.size() && (raw[i + 1] == ' ' || raw[i + 1] == '\t')) {
                while (i + 1 < raw.size() && (raw[i + 1] == ' ' || raw[i + 1] == '\t')) {
                    ++i;
                }
                out += ' ';
            }
            continue;
        }
        out += c;
    }
    return out;
}

std::string decodedValue(std::string_view raw) {
    const std::string text = unfolded(raw);
    return trimmed(gmime::take(g_mime_utils_header_decode_text(gmime::parserOptions(), text.c_str())));
}

struct DateTimeUnref {
    void operator()(GDateTime* date) const { g_date_time_unref(date); }
};

} // namespace

platform::Result<MessageHeaders> MessageHeaders::parse(std::string_view messageBytes) {
    const std::string_view block = headerBlock(messageBytes);
    if (block.empty() || block.front() == '\n' || block.starts_with("\r\n")) {
        return platform::makeError("the message has no header fields");
    }
    auto message = LUMETTA_TRY(gmime::parseMessage(block));
    // GMime files the Content-* fields under the body part and the rest under the
    // message; their offsets in the input restore the order the sender wrote.
    std::vector<GMimeHeader*> all;
    const auto gather = [&all](GMimeObject* object) {
        GMimeHeaderList* list = g_mime_object_get_header_list(object);
        const int count = list != nullptr ? g_mime_header_list_get_count(list) : 0;
        for (int i = 0; i < count; ++i) {
            all.push_back(g_mime_header_list_get_header_at(list, i));
        }
    };
    gather(GMIME_OBJECT(message.get()));
    if (GMimeObject* body = g_mime_message_get_mime_part(message.get())) {
        gather(body);
    }
    std::stable_sort(all.begin(), all.end(), [](GMimeHeader* a, GMimeHeader* b) {
        return g_mime_header_get_offset(a) < g_mime_header_get_offset(b);
    });

    MessageHeaders headers;
    headers.fields_.reserve(all.size());
    headers.rawValues_.reserve(all.size());
    for (GMimeHeader* header : all) {
        const char* name = g_mime_header_get_name(header);
        const char* raw = g_mime_header_get_raw_value(header);
        std::string rawValue = raw != nullptr ? raw : "";
        headers.fields_.emplace_back(name != nullptr ? name : "", decodedValue(rawValue));
        headers.rawValues_.push_back(std::move(rawValue));
    }
    return headers;
}

std::optional<std::string> MessageHeaders::firstHeaderForKey(std::string_view name) const {
    for (const Field& field : fields_) {
        if (sameName(field.first, name)) {
            return field.second;
        }
    }
    return std::nullopt;
}

std::vector<std::string> MessageHeaders::headersForKey(std::string_view name) const {
    std::vector<std::string> values;
    for (const Field& field : fields_) {
        if (sameName(field.first, name)) {
            values.push_back(field.second);
        }
    }
    return values;
}

const std::string* MessageHeaders::rawValue(std::string_view name) const {
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        if (sameName(fields_[i].first, name)) {
            return &rawValues_[i];
        }
    }
    return nullptr;
}

std::string MessageHeaders::subject() const {
    return firstHeaderForKey("Subject").value_or(std::string());
}

std::string MessageHeaders::addresses(std::string_view name, bool everyField) const {
    std::string raw;
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        if (sameName(fields_[i].first, name)) {
            if (!raw.empty()) {
                raw += ',';
            }
            raw += rawValues_[i];
            if (!everyField) {
                break;
            }
        }
    }
    if (raw.empty()) {
        return {};
    }
    gmime::Ref<InternetAddressList> list(internet_address_list_parse(gmime::parserOptions(), raw.c_str()));
    if (!list || internet_address_list_length(list.get()) == 0) {
        // Nothing GMime recognises as an address: show what the sender wrote.
        return decodedValue(raw);
    }
    return gmime::take(internet_address_list_to_string(list.get(), nullptr, FALSE));
}

namespace {

void collectPeople(InternetAddressList* list, std::vector<MessageHeaders::Person>& into, int depth) {
    const int count = internet_address_list_length(list);
    for (int i = 0; i < count; ++i) {
        InternetAddress* address = internet_address_list_get_address(list, i);
        if (INTERNET_ADDRESS_IS_GROUP(address)) {
            // Groups do not nest in real mail; a hostile header must not recurse forever.
            if (depth < 4)
                collectPeople(internet_address_group_get_members(INTERNET_ADDRESS_GROUP(address)), into,
                              depth + 1);
            continue;
        }
        const char* name = internet_address_get_name(address);
        const char* addr = internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(address));
        into.push_back({name ? name : "", addr ? addr : ""});
    }
}

} // namespace

std::vector<MessageHeaders::Person> MessageHeaders::people(std::string_view name) const {
    std::vector<Person> out;
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        if (!sameName(fields_[i].first, name)) {
            continue;
        }
        gmime::Ref<InternetAddressList> list(
            internet_address_list_parse(gmime::parserOptions(), rawValues_[i].c_str()));
        if (list) {
            collectPeople(list.get(), out, 0);
        }
    }
    return out;
}

std::string MessageHeaders::from() const {
    return addresses("From", false);
}

std::string MessageHeaders::to() const {
    return addresses("To", true);
}

std::string MessageHeaders::cc() const {
    return addresses("Cc", true);
}

std::string MessageHeaders::messageID() const {
    return firstHeaderForKey("Message-ID").value_or(std::string());
}

std::string MessageHeaders::messageIDWithoutBrackets() const {
    const std::string withBrackets = messageID();
    if (withBrackets.empty()) {
        return {};
    }
    gmime::parserOptions();
    std::string decoded = gmime::take(g_mime_utils_decode_message_id(withBrackets.c_str()));
    if (!decoded.empty()) {
        return decoded;
    }
    // Not an addr-spec GMime accepts (no "@", stray characters): strip the brackets
    // by hand so that the caller still gets the identifier the sender meant.
    std::string_view bare = withBrackets;
    if (bare.starts_with('<')) {
        bare.remove_prefix(1);
    }
    if (bare.ends_with('>')) {
        bare.remove_suffix(1);
    }
    return trimmed(bare);
}

std::optional<platform::Date> MessageHeaders::dateSent() const {
    const auto value = firstHeaderForKey("Date");
    if (!value || value->empty()) {
        return std::nullopt;
    }
    gmime::parserOptions();
    std::unique_ptr<GDateTime, DateTimeUnref> date(g_mime_utils_header_decode_date(value->c_str()));
    if (!date) {
        return std::nullopt;
    }
    const double unixSeconds = static_cast<double>(g_date_time_to_unix(date.get())) +
                               static_cast<double>(g_date_time_get_microsecond(date.get())) / 1e6;
    return platform::Date::fromUnix(unixSeconds);
}

} // namespace mailhost
