#pragma once

#include "mailhost/mail/Library.h"
#include "platform/runtime/Object.h"

#include <string>
#include <vector>

namespace lumetta {

// What follows the host's routing of arriving mail through its rules: the rules' tag
// actions changed the messages' records in memory, so the panel is told ("LURulesWereApplied")
// and every routed message is saved, in one go.
class ConcreteMessageMallCategory {
public:
    using Object = platform::runtime::Object;
    using Sel = platform::runtime::Sel;

    // Replaces "routeMessages:fromStores:" on "ConcreteMessageMall".
    static void load();

    static mailhost::MessageList lumettaRouteMessages(Object* self, Sel sel, mailhost::MessageList messages,
                                                      std::vector<std::string> stores);
};

} // namespace lumetta
