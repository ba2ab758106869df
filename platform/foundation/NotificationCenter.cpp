#include "platform/foundation/NotificationCenter.h"

#include "platform/foundation/Value.h"

#include <algorithm>

namespace platform {

NotificationCenter& NotificationCenter::defaultCenter() {
    static NotificationCenter* center = new NotificationCenter; // outlives static destructors
    return *center;
}

NotificationCenter::ObserverToken NotificationCenter::addObserver(std::optional<std::string> name,
                                                                  const void* sender, Handler handler,
                                                                  const void* owner) {
    std::lock_guard lock(mutex_);
    const ObserverToken token = nextToken_++;
    observers_.push_back(
        {token, std::move(name), sender, std::make_shared<Handler>(std::move(handler)), owner});
    return token;
}

void NotificationCenter::removeObserversOwnedBy(const void* owner) {
    if (!owner)
        return;
    std::lock_guard lock(mutex_);
    std::erase_if(observers_, [owner](const Observer& o) { return o.owner == owner; });
}

void NotificationCenter::removeObserver(ObserverToken token) {
    std::lock_guard lock(mutex_);
    std::erase_if(observers_, [token](const Observer& o) { return o.token == token; });
}

void NotificationCenter::post(std::string name, const void* object, Dictionary userInfo) {
    const Notification notification{std::move(name), object, std::move(userInfo)};
    // Collect the matching observers first and call them without the lock, so that a
    // handler may post, observe or remove observers itself.
    std::vector<std::pair<ObserverToken, std::shared_ptr<Handler>>> targets;
    {
        std::lock_guard lock(mutex_);
        for (const auto& o : observers_)
            if ((!o.name || *o.name == notification.name) && (!o.sender || o.sender == object))
                targets.emplace_back(o.token, o.handler);
    }
    for (const auto& [token, handler] : targets) {
        {
            // An observer removed by an earlier handler of this same post is skipped.
            std::lock_guard lock(mutex_);
            if (std::none_of(observers_.begin(), observers_.end(),
                             [t = token](const Observer& o) { return o.token == t; }))
                continue;
        }
        (*handler)(notification);
    }
}

} // namespace platform
