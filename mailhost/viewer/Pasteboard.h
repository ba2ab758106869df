#pragma once

#include "platform/foundation/Dictionary.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <memory>
#include <string>
#include <vector>

namespace mailhost {

using platform::runtime::Class;
using platform::runtime::Object;

// What a drag carries: data of declared types, here as property-list values.
class Pasteboard : public Object {
public:
    static constexpr const char* kClassName = "NSPasteboard";
    static std::shared_ptr<Pasteboard> make();
    explicit Pasteboard(Class* cls) : Object(cls) {}

    // Starts new contents of these types; the previous contents are gone.
    void declareTypes(std::vector<std::string> types, Object* owner);
    const std::vector<std::string>& types() const { return types_; }
    Object* owner() const { return owner_; }
    // False for a type that was not declared.
    bool setPropertyList(platform::Value value, const std::string& type);
    // Null when the pasteboard holds nothing of the type.
    platform::Value propertyListForType(const std::string& type) const { return contents_.get(type); }

private:
    std::vector<std::string> types_;
    platform::Dictionary contents_;
    Object* owner_ = nullptr;
};

} // namespace mailhost
