#include "mailhost/cli/RuleCommands.h"

#include "mailhost/cli/Json.h"
#include "mailhost/cli/Plural.h"
#include "mailhost/criteria/CriterionSyntax.h"
#include "mailhost/mail/Library.h"
#include "mailhost/rules/ConcreteMessageMall.h"
#include "mailhost/rules/MessageRules.h"
#include "mailhost/rules/RuleActionSyntax.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <unistd.h>

namespace mailhost {

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;
// Messages routed at once by `rules apply`, between progress reports.
constexpr std::size_t kApplyBatch = 500;

// A word as a shell would need it: quoted when a shell would split or expand it.
std::string shellWord(const std::string& text) {
    if (!text.empty() && text.find_first_of(" \t\n'\"\\$`*?[]<>|&;()!#") == std::string::npos)
        return text;
    std::string out = "'";
    for (const char ch : text)
        out += ch == '\'' ? std::string("'\\''") : std::string(1, ch);
    return out + "'";
}

std::string words(const std::vector<std::string>& parts) {
    std::string out;
    for (const auto& part : parts)
        out += (out.empty() ? "" : " ") + shellWord(part);
    return out;
}

std::vector<std::string> typedCriteria(const MessageRule& rule) {
    std::vector<std::string> out;
    for (const auto& criterion : rule.criteria())
        if (criterion)
            out.push_back(CriterionSyntax::describe(*criterion));
    return out;
}

// The rules, for reading or, locked until they are let go, for changing.
std::optional<MessageRules> loadRules(const RuleCommands::Context& c, const Library& library,
                                      bool forEditing) {
    auto rules = forEditing ? MessageRules::edit(library.layout().root())
                            : MessageRules::load(library.layout().root());
    if (!rules) {
        c.err << "lumetta: " << rules.error().message << "\n";
        return std::nullopt;
    }
    return std::move(rules.value());
}

bool save(const RuleCommands::Context& c, const MessageRules& rules) {
    if (auto saved = rules.save(); !saved) {
        c.err << "lumetta: " << saved.error().message << "\n";
        return false;
    }
    return true;
}

std::optional<std::int64_t> messageNumber(const std::string& text) {
    std::int64_t id = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), id);
    if (text.empty() || ec != std::errc() || end != text.data() + text.size() || id <= 0)
        return std::nullopt;
    return id;
}

void describe(const RuleCommands::Context& c, const MessageRule& rule) {
    const auto criteria = typedCriteria(rule);
    c.out << (rule.allCriteriaMustBeSatisfied() ? "all of: " : "any of: ")
          << (criteria.empty() ? "every message" : words(criteria))
          << "\tthen: " << words(RuleActionSyntax::describe(rule));
}

// The messages `apply` works on, or a status after saying why.
int targets(const RuleCommands::Context& c, Library& library, const std::vector<std::string>& given,
            MessageList& messages, std::vector<std::string>& stores) {
    bool numbers = true;
    for (const auto& word : given)
        numbers = numbers && messageNumber(word).has_value();
    if (numbers) {
        for (const auto& word : given) {
            auto message = library.message(*messageNumber(word));
            if (!message) {
                c.err << "lumetta: no message " << word << "\n";
                return kFailed;
            }
            if (std::find(stores.begin(), stores.end(), message->mailboxName()) == stores.end())
                stores.push_back(message->mailboxName());
            messages.push_back(std::move(message));
        }
        return 0;
    }
    if (given.size() != 1) {
        c.err << "lumetta: apply to one mailbox or to messages by number, not both\n";
        return kUsage;
    }
    if (!library.index().mailboxNamed(given.front())) {
        c.err << "lumetta: no mailbox named \"" << given.front() << "\" (see 'lumetta mailboxes')\n";
        return kFailed;
    }
    messages = library.messagesInMailbox(given.front());
    stores.push_back(given.front());
    return 0;
}

} // namespace

RuleCommands::RuleCommands(CLI::App& app, bool& json) {
    auto* rules = app.add_subcommand("rules", "Mail rules: criteria and actions applied to arriving mail");
    rules->require_subcommand(1);
    list_ = rules->add_subcommand("list", "The rules in the order they are applied");
    list_->add_flag("--json", json, "Print them as JSON");
    add_ = rules->add_subcommand("add", "Add a rule: NAME [--all|--any] --if CRITERION... --then ACTION...");
    add_->add_option("name", name_, "Its name")->required();
    auto* match = add_->add_option_group("match", "How the criteria combine (default --all)");
    match->add_flag("--all", all_, "Every criterion must hold");
    match->add_flag("--any", any_, "One criterion is enough");
    match->require_option(0, 1);
    add_->add_option("--if", criteria_, "Criteria, as for 'lumetta find' (none: every message)")
        ->expected(1, -1);
    add_->add_option("--then", actions_, "Actions, e.g. move=Archive project=Accounts due+=14")
        ->expected(1, -1)
        ->required();
    add_->footer(CriterionSyntax::help() + "\n" + RuleActionSyntax::help());
    remove_ = rules->add_subcommand("remove", "Delete a rule");
    remove_->add_option("name", name_, "Its name")->required();
    enable_ = rules->add_subcommand("enable", "Apply a rule to arriving mail again");
    enable_->add_option("name", name_, "Its name")->required();
    disable_ = rules->add_subcommand("disable", "Keep a rule but stop applying it to arriving mail");
    disable_->add_option("name", name_, "Its name")->required();
    apply_ =
        rules->add_subcommand("apply", "Apply a rule (or every active rule) now: [NAME] (MAILBOX | ID...)");
    apply_->add_option("words", words_, "An optional rule name, then a mailbox or message numbers")
        ->required();
}

bool RuleCommands::chosen() const {
    return list_->parsed() || add_->parsed() || remove_->parsed() || enable_->parsed() ||
           disable_->parsed() || apply_->parsed();
}

int RuleCommands::run(const Context& c) const {
    if (list_->parsed())
        return list(c);
    if (add_->parsed())
        return add(c, name_, !any_, criteria_, actions_);
    if (remove_->parsed())
        return remove(c, name_);
    if (enable_->parsed() || disable_->parsed())
        return setActive(c, name_, enable_->parsed());
    return apply(c, words_);
}

int RuleCommands::list(const Context& c) {
    auto library = LibraryCommands::openLibrary(c);
    if (!library)
        return kFailed;
    auto rules = loadRules(c, *library, false);
    if (!rules)
        return kFailed;
    Json json;
    json.beginArray();
    for (const auto& rule : rules->rules()) {
        const std::string name = rule->ruleName().value_or("");
        if (!c.json) {
            c.out << name << "\t" << (rule->isActive() ? "active" : "inactive") << "\t";
            describe(c, *rule);
            c.out << "\n";
            continue;
        }
        json.beginObject().key("name").value(name).key("active").value(rule->isActive());
        json.key("match")
            .value(rule->allCriteriaMustBeSatisfied() ? "all" : "any")
            .key("criteria")
            .beginArray();
        for (const auto& text : typedCriteria(*rule))
            json.value(text);
        json.endArray().key("actions").beginArray();
        for (const auto& text : RuleActionSyntax::describe(*rule))
            json.value(text);
        json.endArray().endObject();
    }
    if (c.json)
        c.out << json.endArray().str() << "\n";
    return 0;
}

int RuleCommands::add(const Context& c, const std::string& name, bool all,
                      const std::vector<std::string>& criteria, const std::vector<std::string>& actions) {
    auto rule = MessageRule::create();
    if (!rule) {
        c.err << "lumetta: a rule cannot be made\n";
        return kFailed;
    }
    rule->setRuleName(name);
    rule->setAllCriteriaMustBeSatisfied(all);
    for (const auto& text : criteria) {
        auto criterion = CriterionSyntax::criterion(text);
        if (!criterion) {
            c.err << "lumetta: " << criterion.error().message << "\n";
            return criterion.error().code;
        }
        // Rules keep criteria of the rule criterion class.
        if (auto made = MessageRuleCriterion::withDictionary(criterion.value()->dictionaryRepresentation()))
            rule->criteria().push_back(std::move(made));
    }
    for (const auto& text : actions)
        if (auto applied = RuleActionSyntax::apply(text, *rule); !applied) {
            c.err << "lumetta: " << applied.error().message << "\n";
            return applied.error().code;
        }
    std::shared_ptr<MFError> error;
    if (!rule->isValid(&error)) {
        if (error)
            c.err << "lumetta: " << error->title() << ": " << error->localizedDescription() << "\n";
        else
            c.err << "lumetta: the rule \"" << name << "\" cannot be saved as it is\n";
        return kFailed;
    }
    auto library = LibraryCommands::openLibrary(c);
    if (!library)
        return kFailed;
    auto rules = loadRules(c, *library, true);
    if (!rules)
        return kFailed;
    if (rules->rule(name)) {
        c.err << "lumetta: there is a rule named \"" << name << "\" already (remove it first)\n";
        return kFailed;
    }
    rules->add(rule);
    if (!save(c, *rules))
        return kFailed;
    c.out << "rule \"" << name << "\": ";
    describe(c, *rule);
    c.out << "\n";
    return 0;
}

int RuleCommands::remove(const Context& c, const std::string& name) {
    auto library = LibraryCommands::openLibrary(c);
    if (!library)
        return kFailed;
    auto rules = loadRules(c, *library, true);
    if (!rules)
        return kFailed;
    if (!rules->remove(name)) {
        c.err << "lumetta: no rule named \"" << name << "\" (see 'lumetta rules list')\n";
        return kFailed;
    }
    return save(c, *rules) ? 0 : kFailed;
}

int RuleCommands::setActive(const Context& c, const std::string& name, bool active) {
    auto library = LibraryCommands::openLibrary(c);
    if (!library)
        return kFailed;
    auto rules = loadRules(c, *library, true);
    if (!rules)
        return kFailed;
    auto rule = rules->rule(name);
    if (!rule) {
        c.err << "lumetta: no rule named \"" << name << "\" (see 'lumetta rules list')\n";
        return kFailed;
    }
    rule->setActive(active);
    return save(c, *rules) ? 0 : kFailed;
}

int RuleCommands::apply(const Context& c, const std::vector<std::string>& given) {
    auto library = LibraryCommands::openLibrary(c);
    if (!library)
        return kFailed;
    auto rules = loadRules(c, *library, false);
    if (!rules)
        return kFailed;
    // A first word naming a rule, with more words after it, picks that rule.
    std::vector<std::shared_ptr<MessageRule>> chosen = rules->activeRules();
    std::vector<std::string> rest = given;
    if (given.size() >= 2)
        if (auto named = rules->rule(given.front())) {
            chosen = {named};
            rest.erase(rest.begin());
        }
    if (chosen.empty()) {
        c.err << "lumetta: no active rules to apply (see 'lumetta rules list')\n";
        return kFailed;
    }
    MessageList messages;
    std::vector<std::string> stores;
    if (const int status = targets(c, *library, rest, messages, stores); status != 0)
        return status;
    auto mall = ConcreteMessageMall::withRules(chosen);
    if (!mall) {
        c.err << "lumetta: the rules cannot be applied\n";
        return kFailed;
    }
    const bool terminal = ::isatty(STDERR_FILENO);
    ConcreteMessageMall::Outcome total;
    for (std::size_t from = 0; from < messages.size(); from += kApplyBatch) {
        if (terminal)
            c.err << "\rapplying rules: " << from << " of " << Plural::of(messages.size(), "message")
                  << std::flush;
        const MessageList batch(
            messages.begin() + static_cast<std::ptrdiff_t>(from),
            messages.begin() + static_cast<std::ptrdiff_t>(std::min(messages.size(), from + kApplyBatch)));
        auto outcome = mall->route(batch, stores);
        total.matched += outcome.matched;
        total.moved += outcome.moved;
        for (auto& failure : outcome.failures)
            total.failures.push_back(std::move(failure));
    }
    if (terminal)
        c.err << "\r\033[K" << std::flush;
    c.out << "applied " << Plural::of(chosen.size(), "rule") << " to "
          << Plural::of(messages.size(), "message") << ": " << total.matched << " matched";
    if (total.moved)
        c.out << ", " << total.moved << " moved";
    c.out << "\n";
    // A rule whose action failed was not applied as asked, whatever else it did.
    for (const auto& failure : total.failures)
        c.err << "lumetta: " << failure << "\n";
    return total.failures.empty() ? 0 : kFailed;
}

} // namespace mailhost
