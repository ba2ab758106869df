#pragma once

#include "platform/runtime/Class.h"

#include <optional>
#include <typeindex>

namespace platform::runtime {

// Calls a method looked up at run time on a class (class methods, receiver Class*)
// or an object's class (instance methods), as message dispatch would: the nearest
// class in the chain that has the selector answers. Empty when no class has the
// selector or its implementation has another type than the call expects.
template <class R, class... Args> std::optional<R> sendClass(Class& cls, Sel selector, Args... args) {
    using Imp = R (*)(Class*, Sel, Args...);
    Method* m = cls.classMethod(selector);
    if (!m || m->type() != std::type_index(typeid(Imp)))
        return std::nullopt;
    return reinterpret_cast<Imp>(m->imp())(&cls, selector, args...);
}

// The same for methods without a result; false when the method is missing.
template <class... Args> bool sendClassVoid(Class& cls, Sel selector, Args... args) {
    using Imp = void (*)(Class*, Sel, Args...);
    Method* m = cls.classMethod(selector);
    if (!m || m->type() != std::type_index(typeid(Imp)))
        return false;
    reinterpret_cast<Imp>(m->imp())(&cls, selector, args...);
    return true;
}

template <class R, class Self, class... Args> std::optional<R> send(Self* self, Sel selector, Args... args) {
    using Imp = R (*)(Self*, Sel, Args...);
    Method* m = self->objectClass()->instanceMethod(selector);
    if (!m || m->type() != std::type_index(typeid(Imp)))
        return std::nullopt;
    return reinterpret_cast<Imp>(m->imp())(self, selector, args...);
}

// The same for instance methods without a result; false when the method is missing.
template <class Self, class... Args> bool sendVoid(Self* self, Sel selector, Args... args) {
    using Imp = void (*)(Self*, Sel, Args...);
    Method* m = self->objectClass()->instanceMethod(selector);
    if (!m || m->type() != std::type_index(typeid(Imp)))
        return false;
    reinterpret_cast<Imp>(m->imp())(self, selector, args...);
    return true;
}

// Whether the object's class (or a superclass) has an instance method for `selector`.
inline bool respondsToSelector(const Object* self, Sel selector) {
    return self->objectClass()->instanceMethod(selector) != nullptr;
}

} // namespace platform::runtime

namespace platform::runtime {

// Calls the superclass's implementation of a class method with `cls` as receiver,
// as a method does when it runs its superclass's version first.
template <class R, class... Args> std::optional<R> sendSuperClass(Class& cls, Sel selector, Args... args) {
    using Imp = R (*)(Class*, Sel, Args...);
    Method* m = cls.superclass() ? cls.superclass()->classMethod(selector) : nullptr;
    if (!m || m->type() != std::type_index(typeid(Imp)))
        return std::nullopt;
    return reinterpret_cast<Imp>(m->imp())(&cls, selector, args...);
}

template <class... Args> bool sendSuperClassVoid(Class& cls, Sel selector, Args... args) {
    using Imp = void (*)(Class*, Sel, Args...);
    Method* m = cls.superclass() ? cls.superclass()->classMethod(selector) : nullptr;
    if (!m || m->type() != std::type_index(typeid(Imp)))
        return false;
    reinterpret_cast<Imp>(m->imp())(&cls, selector, args...);
    return true;
}

// The superclass's instance method, starting the lookup above `definingClass` (the
// class whose method is running), with `self` as receiver.
template <class R, class Self, class... Args>
std::optional<R> sendSuper(Class& definingClass, Self* self, Sel selector, Args... args) {
    using Imp = R (*)(Self*, Sel, Args...);
    Method* m = definingClass.superclass() ? definingClass.superclass()->instanceMethod(selector) : nullptr;
    if (!m || m->type() != std::type_index(typeid(Imp)))
        return std::nullopt;
    return reinterpret_cast<Imp>(m->imp())(self, selector, args...);
}

// The implementation type of every replaceable dealloc.
using DeallocImp = void (*)(Object*, Sel);

} // namespace platform::runtime
