#include "lumetta/rules/ConcreteMessageMallCategory.h"

#include "lumetta/core/MethodReplacement.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/runtime/Runtime.h"

namespace lumetta {

using mailhost::MessageList;

namespace {

constexpr const char* kHostClass = "ConcreteMessageMall";
constexpr const char* kRulesWereApplied = "LURulesWereApplied";

using RouteImp = MessageList (*)(platform::runtime::Object*, Sel, MessageList, std::vector<std::string>);
RouteImp savedRoute = nullptr;

} // namespace

void ConcreteMessageMallCategory::load() {
    platform::runtime::Class* cls = platform::runtime::Runtime::classNamed(kHostClass);
    if (!cls)
        return;
    cls->addInstanceMethod("lumettaRouteMessages:fromStores:", &lumettaRouteMessages);
    savedRoute = replaceInstanceMethod<RouteImp>("routeMessages:fromStores:", kHostClass,
                                                 "lumettaRouteMessages:fromStores:", kHostClass);
}

MessageList ConcreteMessageMallCategory::lumettaRouteMessages(Object* self, Sel sel, MessageList messages,
                                                              std::vector<std::string> stores) {
    MessageList routed = savedRoute(self, sel, messages, std::move(stores));
    platform::NotificationCenter::defaultCenter().post(kRulesWereApplied);
    mailhost::Library::flagsChangedForMessages(messages);
    mailhost::Library::updateMessageFiles(nullptr);
    return routed;
}

} // namespace lumetta
