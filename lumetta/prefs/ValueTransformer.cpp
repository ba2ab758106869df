#include "lumetta/prefs/ValueTransformer.h"

#include <map>
#include <mutex>

namespace lumetta {

namespace {
std::mutex registryMutex;
std::map<std::string, std::shared_ptr<ValueTransformer>, std::less<>>& registry() {
    static std::map<std::string, std::shared_ptr<ValueTransformer>, std::less<>> r;
    return r;
}
} // namespace

void ValueTransformer::setValueTransformer(std::shared_ptr<ValueTransformer> transformer,
                                           const std::string& name) {
    std::lock_guard lock(registryMutex);
    registry()[name] = std::move(transformer);
}

std::shared_ptr<ValueTransformer> ValueTransformer::valueTransformerForName(const std::string& name) {
    std::lock_guard lock(registryMutex);
    auto found = registry().find(name);
    return found == registry().end() ? nullptr : found->second;
}

} // namespace lumetta
