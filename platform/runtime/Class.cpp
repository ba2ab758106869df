#include "platform/runtime/Class.h"

namespace platform::runtime {

bool Class::isSubclassOf(const Class* other) const {
    for (const Class* c = this; c; c = c->superclass_)
        if (c == other)
            return true;
    return false;
}

Method& Class::add(Table& table, std::string selector, std::type_index type, void (*imp)()) {
    std::lock_guard lock(mutex_);
    auto it = table.find(selector);
    if (it != table.end())
        return *it->second;
    auto method = std::make_unique<Method>(selector, type, imp);
    Method& ref = *method;
    table.emplace(std::move(selector), std::move(method));
    return ref;
}

Method* Class::find(const Table& table, Sel selector) {
    auto it = table.find(selector);
    return it == table.end() ? nullptr : it->second.get();
}

Method* Class::instanceMethod(Sel selector) const {
    for (const Class* c = this; c; c = c->superclass_) {
        std::lock_guard lock(c->mutex_);
        if (Method* m = find(c->instanceMethods_, selector))
            return m;
    }
    return nullptr;
}

Method* Class::classMethod(Sel selector) const {
    for (const Class* c = this; c; c = c->superclass_) {
        std::lock_guard lock(c->mutex_);
        if (Method* m = find(c->classMethods_, selector))
            return m;
    }
    return nullptr;
}

void Class::setFactory(Factory factory) {
    std::lock_guard lock(mutex_);
    factory_ = std::move(factory);
}

std::unique_ptr<Object> Class::createInstance() {
    Class* poser = nullptr;
    {
        std::lock_guard lock(mutex_);
        poser = poser_;
    }
    if (poser)
        return poser->createInstance();
    for (Class* c = this; c; c = c->superclass_) {
        Factory factory;
        {
            std::lock_guard lock(c->mutex_);
            factory = c->factory_;
        }
        if (factory)
            return factory(this);
    }
    return nullptr;
}

bool Class::poseAs(Class& host) {
    if (this == &host || !isSubclassOf(&host))
        return false;
    std::lock_guard lock(host.mutex_);
    host.poser_ = this;
    return true;
}

} // namespace platform::runtime
