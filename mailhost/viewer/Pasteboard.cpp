#include "mailhost/viewer/Pasteboard.h"

#include "platform/runtime/Runtime.h"

#include <algorithm>

namespace mailhost {

std::shared_ptr<Pasteboard> Pasteboard::make() {
    return std::make_shared<Pasteboard>(&platform::runtime::Runtime::defineClass(kClassName));
}

void Pasteboard::declareTypes(std::vector<std::string> types, Object* owner) {
    types_ = std::move(types);
    contents_ = platform::Dictionary();
    owner_ = owner;
}

bool Pasteboard::setPropertyList(platform::Value value, const std::string& type) {
    if (std::find(types_.begin(), types_.end(), type) == types_.end())
        return false;
    contents_.set(type, std::move(value));
    return true;
}

} // namespace mailhost
