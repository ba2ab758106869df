#pragma once

#include "lumetta/core/MethodReplacement.h"
#include "platform/foundation/Dictionary.h"
#include "platform/runtime/AttachedState.h"
#include "platform/runtime/Send.h"

namespace lumetta {

// The pattern every host class with extra per-object state follows: one side table
// created at load, an accessor that makes the object's dictionary on first request,
// and a replaced dealloc that drops the entry. `Traits` names the host class, the
// table's capacity hint, whether the entry goes before or after the host's dealloc
// runs, and any work to do before the entry is dropped.
template <class Traits> class AttachedStateCategory {
public:
    static void load() {
        table_ = new platform::runtime::AttachedState(Traits::kCapacity); // lives as long as the process
        platform::runtime::Class* cls = platform::runtime::Runtime::classNamed(Traits::kHostClass);
        if (!cls)
            return; // no such host class: nothing to extend
        cls->addInstanceMethod("lumettaDealloc", &lumettaDealloc);
        savedDealloc_ = replaceInstanceMethod<platform::runtime::DeallocImp>(
            "dealloc", Traits::kHostClass, "lumettaDealloc", Traits::kHostClass);
    }

    static platform::Dictionary extraIVars(const void* object) { return table_->extraIVars(object); }
    static bool hasExtraIVars(const void* object) { return table_ && table_->has(object); }
    static std::size_t entryCount() { return table_ ? table_->count() : 0; }

private:
    static void lumettaDealloc(platform::runtime::Object* self, Sel selector) {
        if constexpr (Traits::kRemoveBeforeHostDealloc) {
            Traits::beforeRemoval(self);
            table_->remove(self);
            savedDealloc_(self, selector);
        } else {
            savedDealloc_(self, selector);
            table_->remove(self);
        }
    }

    static inline platform::runtime::AttachedState* table_ = nullptr;
    static inline platform::runtime::DeallocImp savedDealloc_ = nullptr;
};

} // namespace lumetta
