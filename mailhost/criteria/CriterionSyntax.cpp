#include "mailhost/criteria/CriterionSyntax.h"

#include "mailhost/criteria/DateCondition.h"
#include "mailhost/criteria/HostCriteria.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>

namespace mailhost {

using platform::Result;

namespace {

// What a form's value may be.
enum class Kind {
    Text,       // any text but none
    Integer,    // a whole number
    Count,      // a whole number of days, 0 to kMaxCount
    Day,        // YYYY-MM-DD
    DayOrCount, // either
    Word,       // exactly `word` (ignoring case), stored as `expression`
    Bare,       // no operator and no value: the word alone, stored as `expression`
};

// Long spans of days mean nothing, and some criteria count the days in seconds.
constexpr int kMaxCount = 10000;

struct Form {
    const char* name;
    const char* op;
    Kind kind;
    const char* identifier;
    int qualifier;
    const char* word = nullptr;
    const char* expression = nullptr;
};

constexpr int kContains = MessageCriterion::kContains, kBegins = MessageCriterion::kBeginsWith,
              kEnds = MessageCriterion::kEndsWith, kIs = MessageCriterion::kIsEqualTo,
              kNot = MessageCriterion::kDoesNotContain, kLess = MessageCriterion::kIsLessThan,
              kMore = MessageCriterion::kIsGreaterThan;

// The tag criteria's identifiers are the bundle's; the host only spells them here so a
// person can type them.
constexpr std::array kForms = {
    Form{"keyword", "=", Kind::Text, "Lumetta KeyWord", kIs},
    Form{"keyword", "!=", Kind::Text, "Lumetta KeyWord", kNot},
    Form{"project", "=", Kind::Text, "Lumetta Project", kIs},
    Form{"project", "!=", Kind::Text, "Lumetta Project", kNot},
    Form{"priority", "=", Kind::Integer, "Lumetta Priority", kIs},
    Form{"priority", "<", Kind::Integer, "Lumetta Priority", kLess},
    Form{"priority", ">", Kind::Integer, "Lumetta Priority", kMore},
    Form{"due-within", "=", Kind::Count, "Lumetta Due Date", kLess},
    Form{"due-after", "=", Kind::Count, "Lumetta Due Date", kMore},
    Form{"due", "=", Kind::Word, "Lumetta Due Date", kIs, "past", "PastDue"},
    Form{"due", "=", Kind::Word, "Lumetta Due Date", kIs, "none", "None"},
    Form{"due", "=", Kind::Word, "Lumetta Due Date", kIs, "any", "Anything"},
    Form{"due", "=", Kind::Count, "Lumetta Due Date", kIs},
    Form{"note", "~", Kind::Text, "Lumetta Comment", kContains},
    Form{"todo", "=", Kind::Word, "Lumetta iCal ToDo Link", kIs, "linked", "YES"},
    Form{"todo", "=", Kind::Word, "Lumetta iCal ToDo Link", kIs, "unlinked", "NO"},
    Form{"todo", "=", Kind::Word, "Lumetta ToDo Completed", kIs, "completed", "YES"},
    Form{"todo", "=", Kind::Word, "Lumetta ToDo Completed", kIs, "open", "NO"},
    Form{"body", "~", Kind::Text, HostCriteria::kBodyIdentifier, kContains},
    Form{"flagged", "", Kind::Bare, "Flagged", kIs, "flagged", "YES"},
    Form{"unflagged", "", Kind::Bare, "Flagged", kIs, "unflagged", "NO"},
    Form{"read", "", Kind::Bare, "Read", kIs, "read", "YES"},
    Form{"unread", "", Kind::Bare, "Read", kIs, "unread", "NO"},
    Form{"received-within", "=", Kind::Count, "DateReceived", kLess},
    Form{"received-older", "=", Kind::Count, "DateReceived", kMore},
    Form{"received-before", "=", Kind::Day, "DateReceived", kLess},
    Form{"received-after", "=", Kind::Day, "DateReceived", kMore},
    Form{"received-on", "=", Kind::DayOrCount, "DateReceived", kIs},
    Form{"sent-within", "=", Kind::Count, "DateSent", kLess},
    Form{"sent-older", "=", Kind::Count, "DateSent", kMore},
    Form{"sent-before", "=", Kind::Day, "DateSent", kLess},
    Form{"sent-after", "=", Kind::Day, "DateSent", kMore},
    Form{"sent-on", "=", Kind::DayOrCount, "DateSent", kIs},
};

// The text fields take the same five operators; "header:NAME" too.
struct TextField {
    const char* name;
    const char* identifier;
};
constexpr std::array kTextFields = {
    TextField{"from", "From"},       TextField{"to", "To"},
    TextField{"cc", "Cc"},           TextField{"recipient", "AnyRecipient"},
    TextField{"subject", "Subject"}, TextField{"mailbox", "Mailbox"},
};
struct TextOperator {
    const char* op;
    int qualifier;
};
constexpr std::array kTextOperators = {TextOperator{"~", kContains}, TextOperator{"!~", kNot},
                                       TextOperator{"=", kIs}, TextOperator{"^=", kBegins},
                                       TextOperator{"$=", kEnds}};
constexpr std::string_view kHeaderName = "header:";
constexpr std::string_view kOperatorCharacters = "=!~^$<>";

platform::Error unreadable(std::string message) {
    return platform::makeError(std::move(message), CriterionSyntax::kNotReadable);
}

std::string lower(std::string_view s) {
    std::string out(s);
    std::transform(out.begin(), out.end(), out.begin(),
                   [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c); });
    return out;
}

std::optional<long> wholeNumber(std::string_view text) {
    long n = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), n);
    if (text.empty() || ec != std::errc() || end != text.data() + text.size() || n < INT_MIN || n > INT_MAX)
        return std::nullopt;
    return n;
}

bool fits(Kind kind, std::string_view value) {
    const auto n = wholeNumber(value);
    const bool count = n && *n >= 0 && *n <= kMaxCount && value.front() != '+';
    switch (kind) {
    case Kind::Text:
        return !value.empty();
    case Kind::Integer:
        return n.has_value();
    case Kind::Count:
        return count;
    case Kind::Day:
        return DateCondition::calendarDay(value).has_value();
    case Kind::DayOrCount:
        return count || DateCondition::calendarDay(value).has_value();
    default:
        return false;
    }
}

std::string needs(const Form& form) {
    const std::string name = form.name;
    switch (form.kind) {
    case Kind::Integer:
        return name + " needs a whole number";
    case Kind::Count:
        return name + " needs a number of days from 0 to " + std::to_string(kMaxCount);
    case Kind::Day:
        return name + " needs a date written YYYY-MM-DD";
    case Kind::DayOrCount:
        return name + " needs a date written YYYY-MM-DD or a number of days ago";
    default:
        return name + " needs a value";
    }
}

struct Split {
    std::string name; // lower case; "header:X-Mailer" keeps the field's spelling
    std::string op;
    std::string value;
};

Split split(std::string_view text) {
    const std::size_t from =
        lower(text.substr(0, kHeaderName.size())) == kHeaderName ? kHeaderName.size() : 0;
    const std::size_t at = std::min(text.find_first_of(kOperatorCharacters, from), text.size());
    Split s{lower(text.substr(0, from)) + std::string(text.substr(from, at - from)), "", ""};
    if (from == 0)
        s.name = lower(s.name);
    std::size_t length = 0;
    if (at < text.size())
        length = (at + 1 < text.size() && text[at + 1] == '=') || text.substr(at, 2) == "!~" ? 2 : 1;
    s.op = std::string(text.substr(at, length));
    s.value = std::string(text.substr(at + length));
    return s;
}

Result<CriterionSyntax::Reading> readText(const Split& s, const std::string& identifier, const char* shown) {
    for (const TextOperator& op : kTextOperators)
        if (s.op == op.op) {
            if (s.value.empty() && op.qualifier != kIs)
                return unreadable(std::string(shown) + s.op + " needs text to look for");
            return CriterionSyntax::Reading{identifier, op.qualifier, s.value};
        }
    return unreadable(std::string(shown) + " takes ~ (contains), !~ (does not contain), = (is), "
                                           "^= (begins with) or $= (ends with)");
}

std::string knownNames() {
    std::string out;
    for (const char* name : {"keyword",
                             "project",
                             "priority",
                             "due",
                             "due-within",
                             "due-after",
                             "note",
                             "todo",
                             "from",
                             "to",
                             "cc",
                             "recipient",
                             "subject",
                             "header:NAME",
                             "body",
                             "mailbox",
                             "flagged",
                             "unflagged",
                             "read",
                             "unread",
                             "received-within|older|before|after|on",
                             "sent-within|older|before|after|on"})
        out += out.empty() ? name : std::string(", ") + name;
    return out;
}

bool sameIdentifier(const Form& form, const MessageCriterion& c) {
    if (c.criterionIdentifier() == form.identifier)
        return true;
    const int type = MessageCriterion::criterionTypeForString(form.identifier);
    return type != 0 && type == c.criterionType();
}

} // namespace

Result<CriterionSyntax::Reading> CriterionSyntax::read(std::string_view text) {
    const Split s = split(text);
    const std::string quoted = "\"" + std::string(text) + "\"";
    if (s.name.starts_with(kHeaderName)) {
        const std::string field = s.name.substr(kHeaderName.size());
        if (field.empty() || field.find_first_of(" \t") != std::string::npos)
            return unreadable(quoted +
                              ": write a header criterion as header:NAME~TEXT, e.g. header:X-Mailer~mutt");
        return readText(s, HostCriteria::headerIdentifier(field), ("header:" + field).c_str());
    }
    for (const TextField& field : kTextFields)
        if (s.name == field.name)
            return readText(s, field.identifier, field.name);
    bool named = false;
    std::vector<std::string> ops;
    std::optional<std::string> wrongValue;
    for (const Form& form : kForms) {
        if (s.name != form.name)
            continue;
        named = true;
        if (form.kind == Kind::Bare) {
            if (!s.op.empty())
                return unreadable(quoted + ": " + form.name + " stands alone, without a value");
            return Reading{form.identifier, form.qualifier, std::string(form.expression)};
        }
        if (std::find(ops.begin(), ops.end(), form.op) == ops.end())
            ops.push_back(form.op);
        if (s.op != form.op)
            continue;
        if (form.kind == Kind::Word) {
            if (lower(s.value) == form.word)
                return Reading{form.identifier, form.qualifier, std::string(form.expression)};
        } else if (fits(form.kind, s.value)) {
            return Reading{form.identifier, form.qualifier, s.value};
        } else if (!wrongValue) {
            wrongValue = needs(form);
        }
    }
    if (!named)
        return unreadable("unknown criterion " + quoted + " (known: " + knownNames() + ")");
    if (s.name == "todo" && s.op == "=")
        return unreadable(quoted + ": todo is linked, unlinked, completed or open");
    if (s.name == "due" && s.op == "=")
        return unreadable(quoted + ": due is past, none, any or a number of days");
    if (wrongValue)
        return unreadable(quoted + ": " + *wrongValue);
    std::string takes;
    for (std::size_t i = 0; i < ops.size(); ++i)
        takes += (i == 0 ? " " : i + 1 == ops.size() ? " or " : ", ") + ops[i];
    return unreadable(quoted + ": " + s.name + " takes" + takes);
}

Result<std::shared_ptr<MessageCriterion>> CriterionSyntax::criterion(std::string_view text) {
    auto reading = LUMETTA_TRY(read(text));
    const int type = MessageCriterion::criterionTypeForString(reading.identifier);
    if (type == 0)
        return platform::makeError("\"" + std::string(text) + "\" needs the criterion \"" +
                                       reading.identifier +
                                       "\", which no loaded bundle provides (tag criteria come with the "
                                       "Lumetta bundle; see 'lumetta report')",
                                   kNotAvailable);
    auto made = MessageRuleCriterion::create();
    made->setCriterionType(type);
    made->setCriterionIdentifier(reading.identifier);
    made->setQualifier(reading.qualifier);
    made->setExpression(reading.expression);
    return made;
}

Result<std::shared_ptr<MessageCriterion>> CriterionSyntax::compound(const std::vector<std::string>& texts,
                                                                    bool all) {
    auto made = MessageCriterion::create();
    made->setCriterionType(MessageCriterion::kCompoundType);
    made->setCriterionIdentifier(MessageCriterion::kCompoundIdentifier);
    made->setAllCriteriaMustBeSatisfied(all);
    for (const std::string& text : texts) {
        auto part = LUMETTA_TRY(criterion(text));
        made->criteria().push_back(std::move(part));
    }
    return made;
}

std::string CriterionSyntax::describe(const MessageCriterion& c) {
    const std::string expression = c.expression().value_or("");
    if (c.criterionType() == MessageCriterion::kCompoundType) {
        std::string out = c.allCriteriaMustBeSatisfied() ? "all of (" : "any of (";
        for (std::size_t i = 0; i < c.criteria().size(); ++i)
            out += (i ? ", " : "") + (c.criteria()[i] ? describe(*c.criteria()[i]) : std::string("?"));
        return out + ")";
    }
    if (c.criterionIdentifier() == MessageCriterion::kMetadataQueryIdentifier)
        return "index query: " + expression;
    std::string field;
    if (c.criterionType() == HostCriteria::kHeader)
        field = "header:" + HostCriteria::headerName(c.criterionIdentifier());
    for (const TextField& f : kTextFields)
        if (c.criterionIdentifier() == f.identifier)
            field = f.name;
    if (!field.empty())
        for (const TextOperator& op : kTextOperators)
            if (c.qualifier() == op.qualifier)
                return field + op.op + expression;
    for (const Form& form : kForms) {
        if (!sameIdentifier(form, c) || form.qualifier != c.qualifier())
            continue;
        if (form.kind == Kind::Bare && expression == form.expression)
            return form.name;
        if (form.kind == Kind::Word && expression == form.expression)
            return std::string(form.name) + form.op + form.word;
        if (form.kind != Kind::Bare && form.kind != Kind::Word && fits(form.kind, expression))
            return std::string(form.name) + form.op + expression;
    }
    return "\"" + c.criterionIdentifier() + "\" " + HostCriteria::qualifierName(c.qualifier()) +
           (c.expression() ? " \"" + expression + "\"" : std::string());
}

std::string CriterionSyntax::help() {
    return "Criteria (quote each one for the shell):\n"
           "  keyword=WORD, keyword!=WORD     has (lacks) the keyword; WORD None: has no keywords\n"
           "  project=NAME, project!=NAME     the project is (is not) NAME; None as for keyword\n"
           "  priority=N, priority<N, priority>N\n"
           "  due=N                           due from a day ago up to N days from now\n"
           "  due-within=N, due-after=N       due in under N days (past due included), after N days\n"
           "  due=past, due=none, due=any     past due, without a due date, with one\n"
           "  note~TEXT                       the note contains TEXT (any case)\n"
           "  todo=linked|unlinked|completed|open\n"
           "  from, to, cc, recipient, subject, mailbox, header:NAME, each with\n"
           "    ~TEXT contains, !~TEXT does not contain, =TEXT is, ^=TEXT begins with, $=TEXT ends with\n"
           "    (ignoring case and accents; recipient is To, Cc or Bcc)\n"
           "  body~WORDS                      the message text holds the words\n"
           "  flagged, unflagged, read, unread\n"
           "  received-within=N, received-older=N      received in the last N days, longer ago\n"
           "  received-before=DATE, received-after=DATE, received-on=DATE|N   (DATE is YYYY-MM-DD)\n"
           "  sent-within, sent-older, sent-before, sent-after, sent-on       the same for the date sent\n"
           "The keyword, project, priority, due, note and todo criteria need the Lumetta bundle.\n";
}

} // namespace mailhost
