#pragma once

#include "mailhost/mail/Message.h"

#include <string>
#include <string_view>

namespace mailhost {

class MessageCriterion;

// The host's own kinds of criterion: their types and identifiers, and how each one is
// answered for a message. Compound criteria are MessageCriterion's own business; tag
// criteria and anything else a bundle adds come in through the seams.
//
//   type  identifier        tests                         qualifiers       expression
//   1     "From"            the From people               0 1 2 3 4        text
//   2     "To"              the To people                 0 1 2 3 4        text
//   3     "Cc"              the Cc people                 0 1 2 3 4        text
//   4     "AnyRecipient"    the To, Cc and Bcc people     0 1 2 3 4        text
//   5     "Subject"         the subject                   0 1 2 3 4        text
//   6     "Header:<Name>"   every field named <Name>      0 1 2 3 4        text
//   7     "DateSent"        the Date field                3 5 6            days or YYYY-MM-DD
//   8     "DateReceived"    when the library received it  3 5 6            days or YYYY-MM-DD
//   9     "Flagged"         flag bit 4                    3 (is) 4 (is not) "YES" or "NO"
//   10    "Read"            flag bit 0                    3 (is) 4 (is not) "YES" or "NO"
//   11    "Mailbox"         the library mailbox's name    0 1 2 3 4        text
//   34    "Body"            the message text, by words    0                text
//   34    "MatadorBody"     (read only) a metadata query, answered by the index, never in memory
//
// Text is compared ignoring case and accents, as a person searching mail expects:
// "muller" finds "Jürgen Müller". Address criteria hold when the qualifier holds for any
// one person's address, name or "Name <address>", or for the whole field as shown.
// A field the message lacks satisfies "does not contain" and nothing else.
//
// Dates: a number N is an age in days. "is less than" N: received (or sent) within the
// last N×24 hours; "is greater than" N: longer ago than that; "is equal to" N: on the
// local calendar day N days before today (0 is today). A date YYYY-MM-DD is a local
// calendar day: "is less than" means before it, "is greater than" after it, "is equal
// to" on it. A message without the date satisfies none of them.
//
// Body: the message text holds the expression as words (and phrases), ignoring case and
// accents: the rule the metadata index applies to kMDItemTextContent, so a body search
// finds the same messages evaluated here as answered by the index.
class HostCriteria {
public:
    enum Type : int {
        kFrom = 1,
        kTo = 2,
        kCc = 3,
        kAnyRecipient = 4,
        kSubject = 5,
        kHeader = 6,
        kDateSent = 7,
        kDateReceived = 8,
        kFlagged = 9,
        kRead = 10,
        kMailbox = 11,
    };
    static constexpr const char* kBodyIdentifier = "Body";
    static constexpr const char* kHeaderPrefix = "Header:";

    // 0 for an identifier the host does not know.
    static int typeForIdentifier(const std::string& identifier);
    // "" for a type the host does not know; "Header" for the header type, whose saved
    // identifier also names the field (headerIdentifier).
    static std::string identifierForType(int type);
    // "Header:X-Mailer" for the field "X-Mailer".
    static std::string headerIdentifier(std::string_view fieldName);
    // The field a header criterion tests ("" when the identifier names none).
    static std::string headerName(const std::string& identifier);

    // Whether the message satisfies a (non-compound) criterion of the host's types;
    // false for a type the host does not know and for a criterion that is not valid.
    static bool evaluate(const MessageCriterion& criterion, Message* message);
    // Whether answering the criterion needs the message's body.
    static bool needsBody(const MessageCriterion& criterion);
    // Whether the criterion can be evaluated at all; `why` says what is wrong. Types the
    // host does not know but some bundle gave a number are that bundle's to judge.
    static bool isValid(const MessageCriterion& criterion, std::string* why);

    // "contains", "begins with", ... for messages; "qualifier 9" for a code the host lacks.
    static std::string qualifierName(int qualifier);
    // The expression as a pattern of the metadata query language and of text::wordMatch:
    // its wildcard characters and backslashes made literal.
    static std::string literalPattern(std::string_view text);
};

} // namespace mailhost
