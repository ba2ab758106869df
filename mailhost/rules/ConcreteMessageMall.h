#pragma once

#include "mailhost/mail/Library.h"
#include "mailhost/rules/MessageRule.h"
#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <memory>
#include <string>
#include <vector>

namespace mailhost {

class MessageRules;

// Where arriving mail goes: the client hands newly stored messages to the mall, which
// applies its rules to them in order. Each rule takes, at once, every message it matches
// that no earlier rule stopped evaluating or moved away, so a rule sees the changes
// the rules before it made. A rule that stops evaluating keeps the later rules from the
// messages it matched.
//
// Moving leaves the originals to delete once every rule has run; routeMessages hands them
// back, and route() deletes them, so that whatever follows the routing (a bundle saving
// the routed messages) still finds their files.
class ConcreteMessageMall : public Object {
public:
    static constexpr const char* kClassName = "ConcreteMessageMall";
    static constexpr const char* kSuperclassName = "MessageMall";

    // Defines "MessageMall" and "ConcreteMessageMall" with the replaceable method
    //   routeMessages:fromStores:
    //       MessageList(Object*, Sel, MessageList messages, std::vector<std::string> stores)
    // (the result: the messages to delete because a rule moved them) and "dealloc".
    static Class& registerClass();

    // A mall applying `rules` in order, whether active or not (a person may apply a rule
    // that is switched off on purpose); forLibrary takes the active rules of a library.
    static std::unique_ptr<ConcreteMessageMall> withRules(std::vector<std::shared_ptr<MessageRule>> rules);
    static std::unique_ptr<ConcreteMessageMall> forLibrary(const MessageRules& rules);

    explicit ConcreteMessageMall(Class* cls) : Object(cls) {}
    ~ConcreteMessageMall() override;

    const std::vector<std::shared_ptr<MessageRule>>& rules() const { return rules_; }

    // Calls `routeMessages:fromStores:`.
    MessageList routeMessages(const MessageList& messages, const std::vector<std::string>& stores);

    struct Outcome {
        std::size_t matched = 0; // messages at least one rule matched
        std::size_t moved = 0;   // of them, moved to another mailbox
        // What the rules' actions could not do, one line each naming the rule.
        std::vector<std::string> failures;
    };
    // routeMessages, then the moved originals are taken out of the library.
    Outcome route(const MessageList& messages, const std::vector<std::string>& stores);

    static MessageList hostRouteMessages(Object* self, Sel, MessageList messages,
                                         std::vector<std::string> stores);
    static void hostDealloc(Object*, Sel) {}

private:
    // Deletes library messages: index entry first, then the file and its index item, so a
    // crash in between leaves a stray file rather than a listed message without one.
    static void removeFromLibrary(const MessageList& messages);

    std::vector<std::shared_ptr<MessageRule>> rules_;
    std::size_t lastMatched_ = 0;
};

} // namespace mailhost
