#pragma once

#include "platform/foundation/Notification.h"

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace platform {

// Delivers notifications synchronously, on the posting thread, to every observer whose
// name and sender match, in the order they registered. Observers may add or remove
// observers (themselves included) while being called.
class NotificationCenter {
public:
    using Handler = std::function<void(const Notification&)>;
    using ObserverToken = std::uint64_t;

    static NotificationCenter& defaultCenter();

    // `name` nullopt observes every name; a null `sender` observes every sender.
    // `owner` names the object on whose behalf the observer is registered, so that the
    // object can remove all its observers at once when it goes away.
    ObserverToken addObserver(std::optional<std::string> name, const void* sender, Handler handler,
                              const void* owner = nullptr);
    void removeObserver(ObserverToken token);
    void removeObserversOwnedBy(const void* owner);
    void post(std::string name, const void* object = nullptr, Dictionary userInfo = {});

private:
    struct Observer {
        ObserverToken token;
        std::optional<std::string> name;
        const void* sender;
        std::shared_ptr<Handler> handler;
        const void* owner;
    };

    std::mutex mutex_;
    std::vector<Observer> observers_;
    ObserverToken nextToken_ = 1;
};

} // namespace platform
