#include "mailhost/rules/RuleActionSyntax.h"

#include "mailhost/criteria/DateCondition.h"
#include "mailhost/rules/MessageColoring.h"
#include "mailhost/rules/MessageRule.h"
#include "mailhost/rules/TagPriority.h"
#include "platform/foundation/Array.h"
#include "platform/foundation/CalendarDateFormatter.h"
#include "platform/foundation/Value.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <filesystem>

namespace mailhost {

using platform::Array;
using platform::Dictionary;
using platform::Result;
using platform::Value;

namespace {

// The keys under which the tag actions are kept in a rule's extra dictionary. They are
// the bundle's; the client spells them here only so that a person can type the actions.
namespace tag {
constexpr const char* kClearAll = "LumettaShouldClearAll";
constexpr const char* kClearKeywords = "LumettaShouldClearKeywords";
constexpr const char* kClearDueDate = "LumettaShouldClearDueDate";
constexpr const char* kAddKeywords = "LumettaAddKeywords";
constexpr const char* kRemoveKeywords = "LumettaRemoveKeywords";
constexpr const char* kProject = "LumettaProject";
constexpr const char* kPriority = "LumettaPriority";
constexpr const char* kSetDueDate = "LumettaSetDueDate";
constexpr const char* kDueDateOffset = "LumettaDueDateOffset";
constexpr const char* kFromExisting = "LumettaDueDateFromExisting";
constexpr const char* kComment = "LumettaComment";
constexpr const char* kCommentLocation = "LumettaCommentLocation";
constexpr const char* kMarkUnread = "MarkUnread";
constexpr const char* kMarkUnflagged = "MarkUnflagged";
} // namespace tag

constexpr std::uint64_t kReadBit = 1, kFlaggedBit = 16;
// Longer shifts of a due date mean nothing, and they are counted in seconds.
constexpr long kMaxDays = 10000;

platform::Error unreadable(std::string message) {
    return platform::makeError(std::move(message), RuleActionSyntax::kNotReadable);
}

Dictionary otherInfoCopy(const MessageRule& rule) {
    return rule.otherInfo() ? rule.otherInfo()->mutableCopy() : Dictionary();
}

void setInfo(MessageRule& rule, const char* key, Value value) {
    Dictionary info = otherInfoCopy(rule);
    info.set(key, std::move(value));
    rule.setOtherInfo(info);
}

void addToInfoList(MessageRule& rule, const char* key, std::string_view item) {
    Dictionary info = otherInfoCopy(rule);
    const Value current = info.get(key);
    Array list = current.array() ? current.array()->mutableCopy() : Array();
    if (!list.contains(Value(item)))
        list.add(Value(item));
    info.set(key, list);
    rule.setOtherInfo(info);
}

std::optional<long> wholeNumber(std::string_view text) {
    long n = 0;
    const char* begin = text.data() + (!text.empty() && text.front() == '+' ? 1 : 0);
    const auto [end, ec] = std::from_chars(begin, text.data() + text.size(), n);
    if (begin == text.data() + text.size() || ec != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return n;
}

std::vector<std::string> splitAddresses(std::string_view text) {
    std::vector<std::string> out;
    std::size_t from = 0;
    while (from <= text.size()) {
        const std::size_t comma = std::min(text.find(',', from), text.size());
        std::string_view part = text.substr(from, comma - from);
        while (!part.empty() && part.front() == ' ')
            part.remove_prefix(1);
        while (!part.empty() && part.back() == ' ')
            part.remove_suffix(1);
        if (!part.empty())
            out.emplace_back(part);
        from = comma + 1;
    }
    return out;
}

Result<void> respond(MessageRule& rule, int type, std::string_view recipients) {
    if (rule.autoResponseType() != MessageRule::kNoResponse && rule.autoResponseType() != type)
        return unreadable("a rule sends one response: forward, reply or redirect");
    std::vector<std::string> list = rule.autoResponseRecipients();
    for (auto& address : splitAddresses(recipients))
        list.push_back(std::move(address));
    if (type != MessageRule::kReply && list.empty())
        return unreadable("say whom to send it to, e.g. forward=ann@example.org");
    rule.setAutoResponseType(type);
    rule.setAutoResponseRecipients(std::move(list));
    return {};
}

Result<void> setDue(MessageRule& rule, std::string_view value) {
    for (const char* word : {"On", "Off", "None"}) {
        const std::string_view w(word);
        if (value.size() == w.size() && std::equal(value.begin(), value.end(), w.begin(), [](char a, char b) {
                return std::tolower(static_cast<unsigned char>(a)) ==
                       std::tolower(static_cast<unsigned char>(b));
            })) {
            setInfo(rule, tag::kSetDueDate, word);
            return {};
        }
    }
    const auto day = DateCondition::calendarDay(value);
    if (!day)
        return unreadable("due= takes on, off, none or a day such as 2026-12-01");
    setInfo(rule, tag::kSetDueDate, DateCondition::startOfLocalDay(*day));
    return {};
}

Result<void> shiftDue(MessageRule& rule, std::string_view value) {
    constexpr std::string_view kExisting = ":existing";
    const bool existing = value.ends_with(kExisting);
    if (existing)
        value.remove_suffix(kExisting.size());
    const auto days = wholeNumber(value);
    if (!days || *days < -kMaxDays || *days > kMaxDays)
        return unreadable(
            "due+= takes a number of days from -10000 to 10000, e.g. due+=14 or due+=14:existing");
    setInfo(rule, tag::kDueDateOffset, *days);
    setInfo(rule, tag::kFromExisting, existing ? Value("YES") : Value());
    return {};
}

Result<void> note(MessageRule& rule, std::string_view text, const char* location) {
    setInfo(rule, tag::kComment, text);
    setInfo(rule, tag::kCommentLocation, location);
    return {};
}

enum class Takes { Nothing, Value, MaybeEmpty };

struct Form {
    const char* name;
    Takes takes;
    Result<void> (*apply)(MessageRule&, std::string_view);
    const char* help;
};

Result<void> yes(MessageRule& rule, const char* key) {
    setInfo(rule, key, "YES");
    return {};
}

const std::array kForms = {
    Form{"move", Takes::Value,
         [](MessageRule& r, std::string_view v) -> Result<void> {
             r.setShouldTransferMessage(true);
             r.setDestinationMailbox(std::string(v));
             return {};
         },
         "move=MAILBOX       move the message into MAILBOX (made when missing)"},
    Form{"copy", Takes::Value,
         [](MessageRule& r, std::string_view v) -> Result<void> {
             r.setShouldCopyMessage(true);
             r.setCopyDestinationMailbox(std::string(v));
             return {};
         },
         "copy=MAILBOX       copy it into MAILBOX"},
    Form{"flag", Takes::Nothing,
         [](MessageRule& r, std::string_view) -> Result<void> {
             r.setFlagsToApply(r.flagsToApply() | kFlaggedBit);
             return {};
         },
         "flag | unflag      set or clear the flagged mark"},
    Form{"unflag", Takes::Nothing,
         [](MessageRule& r, std::string_view) -> Result<void> {
             r.setFlagsToClear(r.flagsToClear() | kFlaggedBit);
             return {};
         },
         nullptr},
    Form{"mark-read", Takes::Nothing,
         [](MessageRule& r, std::string_view) -> Result<void> {
             r.setFlagsToApply(r.flagsToApply() | kReadBit);
             return {};
         },
         "mark-read          mark it read"},
    Form{"color", Takes::Value,
         [](MessageRule& r, std::string_view v) -> Result<void> {
             if (!MessageColoring::hexFor(v))
                 return unreadable("color= takes red, orange, yellow, green, blue, purple, gray or #RRGGBB");
             r.setColor(std::string(v));
             return {};
         },
         "color=COLOUR       colour it: red, orange, yellow, green, blue, purple, gray or #RRGGBB"},
    Form{"run", Takes::Value,
         [](MessageRule& r, std::string_view v) -> Result<void> {
             std::error_code ec;
             const auto path = std::filesystem::absolute(std::filesystem::path(v), ec);
             r.setAppleScriptPath(ec ? std::string(v) : path.string());
             return {};
         },
         "run=PROGRAM        run PROGRAM with the matched messages' files as arguments"},
    Form{"stop", Takes::Nothing,
         [](MessageRule& r, std::string_view) -> Result<void> {
             r.setShouldStopEvaluatingRules(true);
             return {};
         },
         "stop               apply no further rules to the message"},
    Form{"forward", Takes::Value,
         [](MessageRule& r, std::string_view v) { return respond(r, MessageRule::kForward, v); },
         "forward=ADDR,...   forward it (into the Outbox)"},
    Form{"redirect", Takes::Value,
         [](MessageRule& r, std::string_view v) { return respond(r, MessageRule::kRedirect, v); },
         "redirect=ADDR,...  redirect it unchanged (into the Outbox)"},
    Form{"reply", Takes::Nothing,
         [](MessageRule& r, std::string_view) { return respond(r, MessageRule::kReply, ""); },
         "reply              reply to the sender, quoting the message (into the Outbox)"},
    Form{"project", Takes::Value,
         [](MessageRule& r, std::string_view v) -> Result<void> {
             setInfo(r, tag::kProject, v);
             return {};
         },
         "project=NAME       set the project (project=None removes it)"},
    Form{"priority", Takes::Value,
         [](MessageRule& r, std::string_view v) -> Result<void> {
             const auto n = TagPriority::read(v, "priority=" + std::string(v));
             if (!n)
                 return unreadable(n.error().message);
             setInfo(r, tag::kPriority, n.value());
             return {};
         },
         "priority=N         set the priority from 1 (low) to 5 (high); 0 removes it"},
    Form{"add-keyword", Takes::Value,
         [](MessageRule& r, std::string_view v) -> Result<void> {
             addToInfoList(r, tag::kAddKeywords, v);
             return {};
         },
         "add-keyword=K      add keyword K (repeat for more)"},
    Form{"remove-keyword", Takes::Value,
         [](MessageRule& r, std::string_view v) -> Result<void> {
             addToInfoList(r, tag::kRemoveKeywords, v);
             return {};
         },
         "remove-keyword=K   remove keyword K"},
    Form{"clear-keywords", Takes::Nothing, [](MessageRule& r, std::string_view) { return yes(r, tag::kClearKeywords); },
         "clear-keywords     remove every keyword"},
    Form{"clear-due", Takes::Nothing, [](MessageRule& r, std::string_view) { return yes(r, tag::kClearDueDate); },
         "clear-due          remove the due date"},
    Form{"clear-all", Takes::Nothing, [](MessageRule& r, std::string_view) { return yes(r, tag::kClearAll); },
         "clear-all          remove every tag and delete a linked to-do"},
    Form{"due", Takes::Value, &setDue, "due=on|off|none|YYYY-MM-DD  switch the due date on or off, remove or set it"},
    Form{"due+", Takes::Value, &shiftDue,
         "due+=DAYS[:existing]  due DAYS from now (or from the due date the message has)"},
    Form{"note", Takes::MaybeEmpty, [](MessageRule& r, std::string_view v) { return note(r, v, "replace"); },
         "note=TEXT          set the note ($date becomes the day's date; note= removes it)"},
    Form{"note-append", Takes::MaybeEmpty, [](MessageRule& r, std::string_view v) { return note(r, v, "append"); },
         "note-append=TEXT   add TEXT after the note"},
    Form{"note-prepend", Takes::MaybeEmpty,
         [](MessageRule& r, std::string_view v) { return note(r, v, "prepend"); },
         "note-prepend=TEXT  add TEXT before the note"},
    Form{"mark-unread", Takes::Nothing, [](MessageRule& r, std::string_view) { return yes(r, tag::kMarkUnread); },
         "mark-unread        take the read mark off"},
    Form{"mark-unflagged", Takes::Nothing,
         [](MessageRule& r, std::string_view) { return yes(r, tag::kMarkUnflagged); },
         "mark-unflagged     take the flagged mark off (and the flag tag, with other tag actions)"},
};

std::string dueText(const Value& due) {
    if (const platform::Date* date = due.date())
        return platform::CalendarDateFormatter::format(*date, "%Y-%m-%d");
    std::string word = due.stringValue();
    for (char& c : word)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return word;
}

std::string joined(const std::vector<std::string>& parts) {
    std::string out;
    for (const auto& p : parts)
        out += (out.empty() ? "" : ",") + p;
    return out;
}

void describeTags(const Dictionary& info, std::vector<std::string>& out) {
    const auto yesFor = [&](const char* key) {
        return info.get(key).stringValue() == "YES";
    };
    if (yesFor(tag::kClearAll))
        out.emplace_back("clear-all");
    if (yesFor(tag::kClearKeywords))
        out.emplace_back("clear-keywords");
    if (yesFor(tag::kClearDueDate))
        out.emplace_back("clear-due");
    for (const auto& [key, name] :
         {std::pair{tag::kAddKeywords, "add-keyword="}, std::pair{tag::kRemoveKeywords, "remove-keyword="}}) {
        const Value list = info.get(key);
        if (const Array* items = list.array())
            for (const Value& item : items->items())
                out.push_back(name + item.stringValue());
    }
    if (const Value project = info.get(tag::kProject); !project.isNull())
        out.push_back("project=" +
                      (project.array() ? project.array()->first().stringValue() : project.stringValue()));
    if (const Value priority = info.get(tag::kPriority); !priority.isNull())
        out.push_back("priority=" + std::to_string(priority.intValue()));
    if (const Value due = info.get(tag::kSetDueDate); !due.isNull())
        out.push_back("due=" + dueText(due));
    if (const Value offset = info.get(tag::kDueDateOffset); !offset.isNull())
        out.push_back("due+=" + std::to_string(offset.intValue()) +
                      (yesFor(tag::kFromExisting) ? ":existing" : ""));
    if (const Value comment = info.get(tag::kComment); !comment.isNull()) {
        const std::string location = info.get(tag::kCommentLocation).stringValue();
        out.push_back((location == "append"    ? "note-append="
                       : location == "prepend" ? "note-prepend="
                                               : "note=") +
                      comment.stringValue());
    }
    if (yesFor(tag::kMarkUnread))
        out.emplace_back("mark-unread");
    if (yesFor(tag::kMarkUnflagged))
        out.emplace_back("mark-unflagged");
}

} // namespace

Result<void> RuleActionSyntax::apply(std::string_view text, MessageRule& rule) {
    const std::size_t equals = text.find('=');
    const std::string_view name = text.substr(0, equals);
    const bool hasValue = equals != std::string_view::npos;
    const std::string_view value = hasValue ? text.substr(equals + 1) : std::string_view();
    for (const Form& form : kForms) {
        if (name != form.name)
            continue;
        if (form.takes == Takes::Nothing && hasValue)
            return unreadable("\"" + std::string(name) + "\" takes no value: write it alone");
        if (form.takes == Takes::Value && value.empty())
            return unreadable("\"" + std::string(name) + "\" needs a value: " + std::string(name) + "=...");
        if (form.takes == Takes::MaybeEmpty && !hasValue)
            return unreadable("\"" + std::string(name) + "\" needs a text: " + std::string(name) + "=TEXT");
        return form.apply(rule, value);
    }
    return unreadable("\"" + std::string(text) + "\" is not an action (see 'lumetta rules add --help')");
}

std::vector<std::string> RuleActionSyntax::describe(const MessageRule& rule) {
    std::vector<std::string> out;
    if (rule.shouldTransferMessage())
        out.push_back("move=" + rule.destinationMailbox().value_or(""));
    if (rule.shouldCopyMessage())
        out.push_back("copy=" + rule.copyDestinationMailbox().value_or(""));
    if (rule.flagsToApply() & kFlaggedBit)
        out.emplace_back("flag");
    if (rule.flagsToClear() & kFlaggedBit)
        out.emplace_back("unflag");
    if (rule.flagsToApply() & kReadBit)
        out.emplace_back("mark-read");
    if (rule.color())
        out.push_back("color=" + *rule.color());
    if (rule.appleScriptPath())
        out.push_back("run=" + *rule.appleScriptPath());
    if (rule.autoResponseType() == MessageRule::kForward)
        out.push_back("forward=" + joined(rule.autoResponseRecipients()));
    else if (rule.autoResponseType() == MessageRule::kReply)
        out.emplace_back("reply");
    else if (rule.autoResponseType() == MessageRule::kRedirect)
        out.push_back("redirect=" + joined(rule.autoResponseRecipients()));
    if (rule.otherInfo())
        describeTags(*rule.otherInfo(), out);
    if (rule.shouldStopEvaluatingRules())
        out.emplace_back("stop");
    return out;
}

std::string RuleActionSyntax::help() {
    std::string out = "Actions (--then):\n";
    for (const Form& form : kForms)
        if (form.help)
            out += std::string("  ") + form.help + "\n";
    return out;
}

} // namespace mailhost
