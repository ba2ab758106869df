#pragma once

#include "platform/runtime/Object.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <typeindex>

namespace platform::runtime {

// Selectors are the method names as text ("plistDataForMessage:subject:...").
using Sel = std::string_view;

// One method slot: the selector, the exact C++ type of its implementation, and the
// implementation itself. Replacing a method swaps only the implementation pointer, so
// every seam that already refers to the slot calls the new code at once.
class Method {
public:
    Method(std::string selector, std::type_index type, void (*implementation)())
        : selector_(std::move(selector)), type_(type), imp_(implementation) {}

    const std::string& selector() const { return selector_; }
    std::type_index type() const { return type_; }
    void (*imp() const)() { return imp_.load(std::memory_order_acquire); }
    // Installs `imp` and returns what was there.
    void (*exchange(void (*implementation)()))() {
        return imp_.exchange(implementation, std::memory_order_acq_rel);
    }

private:
    std::string selector_;
    std::type_index type_;
    std::atomic<void (*)()> imp_;
};

// A class of the host or the plug-in, by name: its superclass, its instance and class
// methods, and the factory through which the host creates its instances (which a
// posing class may take over).
class Class {
public:
    using Factory = std::function<std::unique_ptr<Object>(Class*)>;

    Class(std::string name, Class* superclass) : name_(std::move(name)), superclass_(superclass) {}

    const std::string& name() const { return name_; }
    Class* superclass() const { return superclass_; }
    bool isSubclassOf(const Class* other) const;

    // Adds (or, for a selector the class already has, keeps) a method. Categories add
    // their methods the same way the host does. `imp` is any function pointer; its
    // exact type is recorded so that replacements must agree with it.
    template <class F> Method& addInstanceMethod(std::string selector, F* imp) {
        return add(instanceMethods_, std::move(selector), typeid(F*), reinterpret_cast<void (*)()>(imp));
    }
    template <class F> Method& addClassMethod(std::string selector, F* imp) {
        return add(classMethods_, std::move(selector), typeid(F*), reinterpret_cast<void (*)()>(imp));
    }

    // The method for a selector, searching superclasses as method dispatch does;
    // nullptr when no class in the chain has it.
    Method* instanceMethod(Sel selector) const;
    Method* classMethod(Sel selector) const;

    void setFactory(Factory factory);
    // A new instance made by this class's factory (or the nearest superclass's);
    // nullptr when none is set.
    std::unique_ptr<Object> createInstance();

    // Every later creation of `host` instances goes through this class's factory,
    // with this class as the instances' class. The poser must be a subclass of `host`.
    bool poseAs(Class& host);

private:
    using Table = std::map<std::string, std::unique_ptr<Method>, std::less<>>;
    Method& add(Table& table, std::string selector, std::type_index type, void (*imp)());
    static Method* find(const Table& table, Sel selector);

    std::string name_;
    Class* superclass_;
    Table instanceMethods_;
    Table classMethods_;
    Factory factory_;
    Class* poser_ = nullptr;
    mutable std::mutex mutex_;
};

} // namespace platform::runtime
