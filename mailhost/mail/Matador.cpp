#include "mailhost/mail/Matador.h"

#include "platform/foundation/Log.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"
#include "platform/spotlight/MetadataStore.h"

#include <memory>

namespace mailhost {

using platform::runtime::Runtime;
using platform::runtime::Seam;

namespace {

using SetAttribute = Seam<bool(Object*, std::string, std::string, platform::Value)>;
SetAttribute* setSeam = nullptr;

} // namespace

Class& Matador::registerClass() {
    Class& cls = Runtime::defineClass(kClassName);
    if (!setSeam) {
        setSeam = new SetAttribute(cls, "setAttributeForFileAtPath:name:value:", &Matador::hostSetAttribute);
        cls.setFactory([](Class* c) { return std::make_unique<Matador>(c); });
    }
    return cls;
}

Matador& Matador::sharedInstance() {
    // Made once, through the class so that a posing class would supply it, and kept
    // for the life of the process like the client's other shared objects.
    static Matador* shared = [] {
        std::unique_ptr<Object> object = registerClass().createInstance();
        auto* matador = dynamic_cast<Matador*>(object.get());
        if (matador)
            object.release();
        else
            matador = new Matador(&registerClass());
        return matador;
    }();
    return *shared;
}

bool Matador::setAttributeForFileAtPath(const std::string& path, const std::string& name,
                                        const platform::Value& value) {
    return (*setSeam)(this, path, name, value);
}

bool Matador::hostSetAttribute(Object*, Sel, std::string path, std::string name, platform::Value value) {
    platform::spotlight::MetadataStore* store = platform::spotlight::MetadataStore::current();
    if (!store)
        return false;
    if (auto written = store->setAttribute(path, name, value); !written) {
        platform::Log::line("Could not write " + name + " of " + path + ": " + written.error().message);
        return false;
    }
    return true;
}

} // namespace mailhost
