#include "mailhost/rules/ConcreteMessageMall.h"

#include "mailhost/rules/MessageRuleActions.h"
#include "mailhost/rules/MessageRules.h"
#include "platform/foundation/Log.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"

#include <filesystem>
#include <unordered_set>

namespace mailhost {

using platform::runtime::Runtime;
using platform::runtime::Seam;

namespace {

struct Seams {
    Class* cls = nullptr;
    Seam<MessageList(Object*, MessageList, std::vector<std::string>)>* route = nullptr;
    Seam<void(Object*)>* dealloc = nullptr;
};

Seams& seams() {
    static Seams s;
    return s;
}

} // namespace

Class& ConcreteMessageMall::registerClass() {
    Seams& s = seams();
    Class& mall = Runtime::defineClass(kSuperclassName);
    Class& cls = Runtime::defineClass(kClassName, &mall);
    if (s.cls)
        return cls;
    s.cls = &cls;
    MessageRule::registerClass();
    s.route = new Seam<MessageList(Object*, MessageList, std::vector<std::string>)>(
        cls, "routeMessages:fromStores:", &hostRouteMessages);
    s.dealloc = new Seam<void(Object*)>(cls, "dealloc", &hostDealloc);
    cls.setFactory([](Class* c) { return std::make_unique<ConcreteMessageMall>(c); });
    return cls;
}

std::unique_ptr<ConcreteMessageMall>
ConcreteMessageMall::withRules(std::vector<std::shared_ptr<MessageRule>> rules) {
    std::unique_ptr<Object> object = registerClass().createInstance();
    auto* mall = dynamic_cast<ConcreteMessageMall*>(object.get());
    if (!mall)
        return nullptr;
    object.release();
    mall->rules_ = std::move(rules);
    return std::unique_ptr<ConcreteMessageMall>(mall);
}

std::unique_ptr<ConcreteMessageMall> ConcreteMessageMall::forLibrary(const MessageRules& rules) {
    return withRules(rules.activeRules());
}

ConcreteMessageMall::~ConcreteMessageMall() {
    if (seams().dealloc)
        (*seams().dealloc)(this);
}

MessageList ConcreteMessageMall::routeMessages(const MessageList& messages,
                                               const std::vector<std::string>& stores) {
    return (*seams().route)(this, messages, stores);
}

ConcreteMessageMall::Outcome ConcreteMessageMall::route(const MessageList& messages,
                                                        const std::vector<std::string>& stores) {
    lastMatched_ = 0;
    // Only this routing's failures are told.
    (void)MessageRuleActions::takeFailures();
    const MessageList moved = routeMessages(messages, stores);
    removeFromLibrary(moved);
    return {lastMatched_, moved.size(), MessageRuleActions::takeFailures()};
}

MessageList ConcreteMessageMall::hostRouteMessages(Object* self, Sel, MessageList messages,
                                                   std::vector<std::string>) {
    auto* mall = dynamic_cast<ConcreteMessageMall*>(self);
    if (!mall)
        return {};
    std::unordered_set<const Message*> settled, matchedAny;
    MessageList toDelete;
    std::vector<std::string> destinations;
    MessageList rejected;
    for (const auto& rule : mall->rules_) {
        if (!rule)
            continue;
        MessageList matched;
        for (const auto& message : messages)
            if (message && !settled.count(message.get()) && rule->doesMessageSatisfyCriteria(message.get()))
                matched.push_back(message);
        if (matched.empty())
            continue;
        const std::size_t before = toDelete.size();
        rule->performActionsOnMessages(matched, &destinations, &rejected, &toDelete);
        for (const auto& m : matched) {
            matchedAny.insert(m.get());
            if (rule->shouldStopEvaluatingRules())
                settled.insert(m.get());
        }
        // A message moved away is no longer here for the rules that follow.
        for (std::size_t i = before; i < toDelete.size(); ++i)
            settled.insert(toDelete[i].get());
    }
    mall->lastMatched_ = matchedAny.size();
    std::unordered_set<const Message*> seen;
    MessageList unique;
    for (const auto& m : toDelete)
        if (m && seen.insert(m.get()).second)
            unique.push_back(m);
    return unique;
}

void ConcreteMessageMall::removeFromLibrary(const MessageList& messages) {
    Library* library = Library::current();
    if (!library)
        return;
    for (const auto& m : messages) {
        auto* stored = dynamic_cast<LibraryMessage*>(m.get());
        if (!stored)
            continue;
        const std::string path = Library::dataPathForMessage(stored);
        if (auto removed = library->index().remove(stored->libraryID()); !removed) {
            platform::Log::line("Could not take moved message " + stored->messageID() +
                                " out of the index: " + removed.error().message);
            continue;
        }
        std::error_code ec;
        std::filesystem::remove(path, ec);
        if (ec)
            platform::Log::line("Could not delete the moved message file " + path + ": " + ec.message());
        library->indexer().forgetMessageFile(path);
    }
}

} // namespace mailhost
