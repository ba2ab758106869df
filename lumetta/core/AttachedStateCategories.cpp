#include "lumetta/core/AttachedStateCategories.h"

#include "platform/foundation/NotificationCenter.h"

namespace lumetta {

void MessageContentControllerState::beforeRemoval(const void* self) {
    platform::NotificationCenter::defaultCenter().removeObserversOwnedBy(self);
}

} // namespace lumetta
