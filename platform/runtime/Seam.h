#pragma once

#include "platform/runtime/Class.h"

#include <string>
#include <utility>

namespace platform::runtime {

// A host method that a bundle may replace. The host registers its own implementation
// under the method's selector and from then on calls the method only through the
// seam, which reads the slot on every call: whatever implementation is installed
// there (the host's, or a replacement) runs, receiving the receiver, the selector and
// the arguments.
//
// Signature: R(Self, Args...) where Self is the receiver (a host object pointer, or
// Class* for class methods); implementations have the type R(*)(Self, Sel, Args...).
template <class Signature> class Seam;

template <class R, class Self, class... Args> class Seam<R(Self, Args...)> {
public:
    using Imp = R (*)(Self, Sel, Args...);
    enum class Kind { Instance, ClassMethod };

    Seam(Class& cls, std::string selector, Imp hostImp, Kind kind = Kind::Instance)
        : method_(kind == Kind::Instance ? &cls.addInstanceMethod(std::move(selector), hostImp)
                                         : &cls.addClassMethod(std::move(selector), hostImp)) {}

    R operator()(Self self, Args... args) const {
        return current()(self, method_->selector(), std::forward<Args>(args)...);
    }

    Imp current() const { return reinterpret_cast<Imp>(method_->imp()); }
    const std::string& selector() const { return method_->selector(); }

private:
    Method* method_;
};

} // namespace platform::runtime
