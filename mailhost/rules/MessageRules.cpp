#include "mailhost/rules/MessageRules.h"

#include "platform/foundation/Array.h"
#include "platform/foundation/AtomicFile.h"
#include "platform/foundation/PropertyList.h"
#include "platform/foundation/Value.h"

#include <algorithm>
#include <system_error>

namespace mailhost {

namespace fs = std::filesystem;
using platform::Result;

namespace {

constexpr const char* kVersionKey = "RulesVersion";
constexpr const char* kRulesKey = "rules";

} // namespace

Result<MessageRules> MessageRules::load(const fs::path& libraryRoot) {
    MessageRules store(libraryRoot / kFileName);
    std::error_code ec;
    if (!fs::exists(store.file_, ec) && !ec)
        return store;
    auto bytes = platform::AtomicFile::read(store.file_);
    if (!bytes)
        return platform::makeError("cannot read " + store.file_.string() + ": " + bytes.error().message);
    const std::string damaged =
        store.file_.string() + " is damaged and was left as it is (repair or remove it): ";
    auto parsed = platform::PropertyList::parse(bytes.value());
    if (!parsed)
        return platform::makeError(damaged + parsed.error().message);
    const platform::Dictionary* top = parsed.value().dictionary();
    const platform::Value list = top ? top->get(kRulesKey) : platform::Value();
    if (!list.array())
        return platform::makeError(damaged + "it does not hold a list of rules");
    for (const platform::Value& entry : list.array()->items()) {
        const platform::Dictionary* form = entry.dictionary();
        if (!form)
            return platform::makeError(damaged + "rule " + std::to_string(store.rules_.size() + 1) +
                                       " is not a rule");
        auto rule = MessageRule::withDictionary(*form);
        if (!rule)
            return platform::makeError("the rules of " + store.file_.string() + " cannot be made");
        store.rules_.push_back(std::move(rule));
    }
    return store;
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
    const platform::Dictionary top{{kVersionKey, kVersion}, {kRulesKey, list}};
    auto xml = platform::PropertyList::xml(top);
    if (!xml)
        return platform::makeError("the rules cannot be written: " + xml.error().message);
    auto written = platform::AtomicFile::write(file_, xml.value());
    if (!written)
        return platform::makeError("cannot save " + file_.string() + ": " + written.error().message);
    return {};
}

} // namespace mailhost
