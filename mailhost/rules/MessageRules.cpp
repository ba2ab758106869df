#include "mailhost/rules/MessageRules.h"

#include "platform/foundation/Array.h"
#include "platform/foundation/Value.h"

#include <algorithm>

namespace mailhost {

namespace fs = std::filesystem;
using platform::Result;

namespace {

constexpr const char* kVersionKey = "RulesVersion";
constexpr const char* kRulesKey = "rules";

} // namespace

MessageRules::MessageRules(const fs::path& libraryRoot) : file_(libraryRoot / kFileName, "the rules") {}

Result<void> MessageRules::take(const platform::Value& contents) {
    if (contents.isNull())
        return {};
    const platform::Dictionary* top = contents.dictionary();
    const platform::Value list = top ? top->get(kRulesKey) : platform::Value();
    if (!list.array())
        return platform::makeError(file_.damaged() + "it does not hold a list of rules");
    for (const platform::Value& entry : list.array()->items()) {
        const platform::Dictionary* form = entry.dictionary();
        if (!form)
            return platform::makeError(file_.damaged() + "rule " + std::to_string(rules_.size() + 1) +
                                       " is not a rule");
        auto rule = MessageRule::withDictionary(*form);
        if (!rule)
            return platform::makeError("the rules of " + file_.path().string() + " cannot be made");
        rules_.push_back(std::move(rule));
    }
    return {};
}

Result<MessageRules> MessageRules::open(const fs::path& libraryRoot, bool forEditing) {
    MessageRules store(libraryRoot);
    auto contents = LUMETTA_TRY(store.file_.read(forEditing));
    LUMETTA_TRY_VOID(store.take(contents));
    return store;
}

Result<MessageRules> MessageRules::load(const fs::path& libraryRoot) {
    return open(libraryRoot, false);
}

Result<MessageRules> MessageRules::edit(const fs::path& libraryRoot) {
    return open(libraryRoot, true);
}

std::vector<std::shared_ptr<MessageRule>> MessageRules::activeRules() const {
    std::vector<std::shared_ptr<MessageRule>> out;
    for (const auto& rule : rules_)
        if (rule->isActive())
            out.push_back(rule);
    return out;
}

std::shared_ptr<MessageRule> MessageRules::rule(const std::string& name) const {
    for (const auto& rule : rules_)
        if (rule->ruleName() == name)
            return rule;
    return nullptr;
}

void MessageRules::add(std::shared_ptr<MessageRule> rule) {
    if (rule)
        rules_.push_back(std::move(rule));
}

bool MessageRules::remove(const std::string& name) {
    const auto found = std::find_if(rules_.begin(), rules_.end(),
                                    [&](const auto& rule) { return rule->ruleName() == name; });
    if (found == rules_.end())
        return false;
    rules_.erase(found);
    return true;
}

Result<void> MessageRules::save() const {
    platform::Array list;
    for (const auto& rule : rules_)
        list.add(rule->dictionaryRepresentation());
    return file_.write(platform::Dictionary{{kVersionKey, kVersion}, {kRulesKey, list}});
}

} // namespace mailhost
