#pragma once

#include "platform/foundation/Value.h"
#include "platform/runtime/Class.h"
#include "platform/runtime/Object.h"

#include <string>

namespace mailhost {

using platform::runtime::Class;
using platform::runtime::Object;
using platform::runtime::Sel;

// The client's writer of metadata attributes: the one way anything but the client's
// own indexing puts an attribute on a message file's item. What it writes stays on the
// item until removed, whatever rewrites of the file the client indexes later.
class Matador : public Object {
public:
    static constexpr const char* kClassName = "Matador";

    // Defines "Matador" and its replaceable instance method:
    //   setAttributeForFileAtPath:name:value:   bool(Object*, Sel, std::string, std::string, Value)
    static Class& registerClass();

    // The one writer of the process.
    static Matador& sharedInstance();

    explicit Matador(Class* cls) : Object(cls) {}

    // Writes `value` (null removes) as attribute `name` of the file at `path`, through
    // the seam. False when the file's library has no metadata index or the write failed.
    bool setAttributeForFileAtPath(const std::string& path, const std::string& name,
                                   const platform::Value& value);

    static bool hostSetAttribute(Object*, Sel, std::string path, std::string name, platform::Value value);
};

} // namespace mailhost
