#include "mailhost/criteria/HostCriteria.h"

#include "mailhost/criteria/DateCondition.h"
#include "mailhost/criteria/MessageCriterion.h"
#include "mailhost/criteria/TextMatch.h"
#include "mailhost/mail/LibraryMessage.h"
#include "mailhost/message/MessageBody.h"
#include "platform/foundation/Text.h"
#include "platform/spotlight/query/QueryParser.h"

#include <array>

namespace mailhost {

namespace {

struct Kind {
    int type;
    const char* identifier;
    const char* label; // for messages about it
};

constexpr std::array kKinds = {
    Kind{HostCriteria::kFrom, "From", "From"},
    Kind{HostCriteria::kTo, "To", "To"},
    Kind{HostCriteria::kCc, "Cc", "Cc"},
    Kind{HostCriteria::kAnyRecipient, "AnyRecipient", "any recipient"},
    Kind{HostCriteria::kSubject, "Subject", "Subject"},
    Kind{HostCriteria::kHeader, "Header", "a header field"},
    Kind{HostCriteria::kDateSent, "DateSent", "the date sent"},
    Kind{HostCriteria::kDateReceived, "DateReceived", "the date received"},
    Kind{HostCriteria::kFlagged, "Flagged", "Flagged"},
    Kind{HostCriteria::kRead, "Read", "Read"},
    Kind{HostCriteria::kMailbox, "Mailbox", "the mailbox"},
    Kind{MessageCriterion::kCompoundType, MessageCriterion::kCompoundIdentifier, "a compound"},
    Kind{MessageCriterion::kBodyType, HostCriteria::kBodyIdentifier, "the message text"},
};

constexpr std::uint64_t kReadBit = 1u << 0;
constexpr std::uint64_t kFlaggedBit = 1u << 4;

const Kind* kindOf(int type) {
    for (const Kind& kind : kKinds)
        if (kind.type == type)
            return &kind;
    return nullptr;
}

bool isQueryCriterion(const MessageCriterion& c) {
    return c.criterionIdentifier() == MessageCriterion::kMetadataQueryIdentifier;
}

bool isTextType(int type) {
    return (type >= HostCriteria::kFrom && type <= HostCriteria::kHeader) || type == HostCriteria::kMailbox;
}

// A field name as a message may carry it: printable ASCII without blank or colon.
bool isFieldName(const std::string& name) {
    if (name.empty())
        return false;
    for (const char c : name)
        if (c <= ' ' || c > '~' || c == ':')
            return false;
    return true;
}

// What an address field offers: the field as shown and, for every person, the address,
// the name and the two together. Each of those is part of the field as shown, so
// "contains" needs only that, and the addresses are split only for the other qualifiers.
std::vector<std::string> people(const MessageHeaders& headers, std::initializer_list<const char*> fields,
                                int qualifier) {
    std::vector<std::string> out;
    const bool whole =
        qualifier == MessageCriterion::kContains || qualifier == MessageCriterion::kDoesNotContain;
    for (const char* field : fields) {
        for (const std::string& shown : headers.headersForKey(field))
            out.push_back(shown);
        if (whole)
            continue;
        for (const auto& person : headers.people(field)) {
            out.push_back(person.address);
            if (!person.name.empty()) {
                out.push_back(person.name);
                out.push_back(person.name + " <" + person.address + ">");
            }
        }
    }
    return out;
}

std::vector<std::string> textOf(const MessageCriterion& c, const Message& message) {
    if (c.criterionType() == HostCriteria::kMailbox) {
        const auto* stored = dynamic_cast<const LibraryMessage*>(&message);
        return stored ? std::vector<std::string>{stored->mailboxName()} : std::vector<std::string>{};
    }
    const MessageHeaders* headers = message.headers();
    if (!headers)
        return {};
    switch (c.criterionType()) {
    case HostCriteria::kFrom:
        return people(*headers, {"From"}, c.qualifier());
    case HostCriteria::kTo:
        return people(*headers, {"To"}, c.qualifier());
    case HostCriteria::kCc:
        return people(*headers, {"Cc"}, c.qualifier());
    case HostCriteria::kAnyRecipient:
        return people(*headers, {"To", "Cc", "Bcc"}, c.qualifier());
    case HostCriteria::kSubject:
        return headers->headersForKey("Subject").empty() ? std::vector<std::string>{}
                                                         : std::vector<std::string>{headers->subject()};
    default:
        return headers->headersForKey(HostCriteria::headerName(c.criterionIdentifier()));
    }
}

std::optional<platform::Date> dateOf(int type, const Message& message) {
    if (const auto* stored = dynamic_cast<const LibraryMessage*>(&message)) {
        const double seconds =
            type == HostCriteria::kDateSent ? stored->envelope().dateSent : stored->envelope().dateReceived;
        if (seconds != 0)
            return platform::Date{seconds};
        if (type == HostCriteria::kDateReceived)
            return std::nullopt;
    } else if (type == HostCriteria::kDateReceived) {
        return std::nullopt; // only the library receives messages
    }
    const MessageHeaders* headers = message.headers();
    return headers ? headers->dateSent() : std::nullopt;
}

bool bodyHolds(const MessageCriterion& c, const Message& message) {
    auto bytes = message.messageBytes();
    if (!bytes)
        return false;
    auto text = MessageBody::textContent(bytes.value());
    return text &&
           platform::text::wordMatch(text.value(), HostCriteria::literalPattern(*c.expression()), true, true);
}

bool fail(std::string* why, std::string reason) {
    if (why)
        *why = std::move(reason);
    return false;
}

std::string quoted(const std::string& s) {
    return "\"" + s + "\"";
}

} // namespace

int HostCriteria::typeForIdentifier(const std::string& identifier) {
    if (identifier == MessageCriterion::kMetadataQueryIdentifier)
        return MessageCriterion::kBodyType;
    if (identifier.starts_with(kHeaderPrefix))
        return kHeader;
    for (const Kind& kind : kKinds)
        if (identifier == kind.identifier)
            return kind.type;
    return 0;
}

std::string HostCriteria::identifierForType(int type) {
    const Kind* kind = kindOf(type);
    return kind ? kind->identifier : std::string();
}

std::string HostCriteria::headerIdentifier(std::string_view fieldName) {
    return kHeaderPrefix + std::string(fieldName);
}

std::string HostCriteria::headerName(const std::string& identifier) {
    return identifier.starts_with(kHeaderPrefix) ? identifier.substr(std::string_view(kHeaderPrefix).size())
                                                 : std::string();
}

bool HostCriteria::evaluate(const MessageCriterion& c, Message* message) {
    const int type = c.criterionType();
    // A metadata query is the index's to answer; evaluated here it selects nothing.
    if (!message || (type == MessageCriterion::kBodyType && isQueryCriterion(c)) || !isValid(c, nullptr))
        return false;
    if (isTextType(type))
        return TextMatch(c.qualifier(), *c.expression()).holds(textOf(c, *message));
    switch (type) {
    case kDateSent:
    case kDateReceived: {
        const auto date = dateOf(type, *message);
        return date && DateCondition::read(c.qualifier(), *c.expression(), nullptr)->holds(*date);
    }
    case kFlagged:
    case kRead: {
        const bool set = (message->flags() & (type == kRead ? kReadBit : kFlaggedBit)) != 0;
        const bool wanted = *c.expression() == "YES";
        return (set == wanted) == (c.qualifier() == MessageCriterion::kIsEqualTo);
    }
    case MessageCriterion::kBodyType:
        return bodyHolds(c, *message);
    default:
        return false;
    }
}

bool HostCriteria::needsBody(const MessageCriterion& criterion) {
    return criterion.criterionType() == MessageCriterion::kBodyType;
}

bool HostCriteria::isValid(const MessageCriterion& c, std::string* why) {
    const int type = c.criterionType();
    if (type == 0)
        return fail(why, "unknown criterion " + quoted(c.criterionIdentifier()) +
                             " (neither the client nor a loaded bundle knows it)");
    const Kind* kind = kindOf(type);
    if (!kind)
        return true; // a bundle's type
    const std::string label = type == kHeader ? quoted(headerName(c.criterionIdentifier())) : kind->label;
    if (type == kHeader && !isFieldName(headerName(c.criterionIdentifier())))
        return fail(why, "the header criterion " + quoted(c.criterionIdentifier()) +
                             " names no header field (write it \"Header:X-Mailer\")");
    if (type != MessageCriterion::kCompoundType && !c.expression())
        return fail(why, label + " needs something to compare with");
    if (isTextType(type)) {
        if (!TextMatch::isTextQualifier(c.qualifier()))
            return fail(why, label + " cannot be compared by \"" + qualifierName(c.qualifier()) + "\"");
        if (c.expression()->empty() && c.qualifier() != MessageCriterion::kIsEqualTo)
            return fail(why, label + " needs text to look for");
        return true;
    }
    switch (type) {
    case kDateSent:
    case kDateReceived: {
        std::string reason;
        if (!DateCondition::read(c.qualifier(), *c.expression(), &reason))
            return fail(why, label + ": " + reason);
        return true;
    }
    case kFlagged:
    case kRead:
        if (c.qualifier() != MessageCriterion::kIsEqualTo &&
            c.qualifier() != MessageCriterion::kDoesNotContain)
            return fail(why, label + " is tested by \"is equal to\" or \"does not contain\" (is not)");
        if (*c.expression() != "YES" && *c.expression() != "NO")
            return fail(why, label + " is \"YES\" or \"NO\", not " + quoted(*c.expression()));
        return true;
    case MessageCriterion::kBodyType:
        if (isQueryCriterion(c)) {
            auto parsed = platform::spotlight::QueryParser::parse(*c.expression());
            if (!parsed)
                return fail(why, "the index query " + quoted(*c.expression()) +
                                     " does not read: " + parsed.error().message);
            return true;
        }
        if (c.qualifier() != MessageCriterion::kContains)
            return fail(why, "the message text is searched by \"contains\" only");
        if (c.expression()->empty())
            return fail(why, "the message text needs words to look for");
        return true;
    default:
        return true;
    }
}

std::string HostCriteria::qualifierName(int qualifier) {
    static constexpr std::array kNames = {"contains",         "begins with",  "ends with",      "is equal to",
                                          "does not contain", "is less than", "is greater than"};
    if (qualifier >= 0 && qualifier < static_cast<int>(kNames.size()))
        return kNames[static_cast<std::size_t>(qualifier)];
    return "qualifier " + std::to_string(qualifier);
}

std::string HostCriteria::literalPattern(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (const char c : text) {
        if (c == '\\' || c == '*' || c == '?')
            out += '\\';
        out += c;
    }
    return out;
}

} // namespace mailhost
