#pragma once

#include "lumetta/core/AttachedStateCategory.h"

namespace lumetta {

// The host classes that carry plug-in state, and the order in which their replaced
// dealloc drops it relative to the host's own dealloc.

struct MessageContentControllerState {
    static constexpr const char* kHostClass = "MessageContentController";
    static constexpr std::size_t kCapacity = 7;
    static constexpr bool kRemoveBeforeHostDealloc = true;
    // The panel it shows registered observers on its behalf; none may outlive it.
    static void beforeRemoval(const void* self);
};

struct CriteriaUIHelperState {
    static constexpr const char* kHostClass = "CriteriaUIHelper";
    static constexpr std::size_t kCapacity = 7;
    static constexpr bool kRemoveBeforeHostDealloc = false;
    static void beforeRemoval(const void*) {}
};

struct MailSorterPreferencesState {
    static constexpr const char* kHostClass = "MailSorterPreferences";
    static constexpr std::size_t kCapacity = 7;
    static constexpr bool kRemoveBeforeHostDealloc = false;
    static void beforeRemoval(const void*) {}
};

struct MessageRuleState {
    static constexpr const char* kHostClass = "MessageRule";
    static constexpr std::size_t kCapacity = 6;
    static constexpr bool kRemoveBeforeHostDealloc = false;
    static void beforeRemoval(const void*) {}
};

struct MessageTilingViewState {
    static constexpr const char* kHostClass = "MessageTilingView";
    static constexpr std::size_t kCapacity = 7;
    static constexpr bool kRemoveBeforeHostDealloc = true;
    static void beforeRemoval(const void*) {}
};

using MessageContentControllerCategory = AttachedStateCategory<MessageContentControllerState>;
using CriteriaUIHelperCategory = AttachedStateCategory<CriteriaUIHelperState>;
using MailSorterPreferencesCategory = AttachedStateCategory<MailSorterPreferencesState>;
using MessageRuleCategory = AttachedStateCategory<MessageRuleState>;
using MessageTilingViewCategory = AttachedStateCategory<MessageTilingViewState>;

} // namespace lumetta
