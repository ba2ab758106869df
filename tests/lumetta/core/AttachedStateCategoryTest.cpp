#include "lumetta/core/AttachedStateCategories.h"
#include "lumetta/startup/CategoryLoader.h"
#include "platform/foundation/NotificationCenter.h"
#include "platform/foundation/Value.h"
#include "platform/runtime/Runtime.h"
#include "platform/runtime/Seam.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace platform;
using namespace lumetta;
using platform::runtime::Class;
using platform::runtime::Object;
using platform::runtime::Runtime;
using platform::runtime::Sel;

namespace {

// Stand-ins for host classes that carry plug-in state. Their destructors call the
// dealloc seam, as host objects do; the host's dealloc records whether the plug-in's
// entry still existed when it ran.
std::vector<std::string> deallocTrace;

template <class Category> void hostDealloc(Object* self, Sel) {
    deallocTrace.push_back(self->objectClass()->name() + (Category::hasExtraIVars(self)
                                                              ? ": host dealloc, entry present"
                                                              : ": host dealloc, entry gone"));
}

template <class Category> struct HostObject : Object {
    explicit HostObject(Class* cls) : Object(cls) {}
    ~HostObject() override { dealloc(this); }
    static inline platform::runtime::Seam<void(Object*)>* deallocSeam = nullptr;
    static void dealloc(Object* self) { (*deallocSeam)(self); }
};

template <class Category> Class& defineHostClass(const char* name) {
    Class& cls = Runtime::defineClass(name);
    HostObject<Category>::deallocSeam =
        new platform::runtime::Seam<void(Object*)>(cls, "dealloc", &hostDealloc<Category>);
    return cls;
}

// The host classes exist before the plug-in loads, as in the client; CriteriaUIHelper
// and MailSorterPreferences are left undefined to show that a missing class is skipped.
class AttachedStateCategoryTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        rule_ = &defineHostClass<MessageRuleCategory>("MessageRule");
        tiling_ = &defineHostClass<MessageTilingViewCategory>("MessageTilingView");
        content_ = &defineHostClass<MessageContentControllerCategory>("MessageContentController");
        loadCategories();
    }
    void SetUp() override { deallocTrace.clear(); }

    static inline Class* rule_ = nullptr;
    static inline Class* tiling_ = nullptr;
    static inline Class* content_ = nullptr;
};

// Which goes first, the host's dealloc or the removal, differs by class on purpose.
TEST_F(AttachedStateCategoryTest, DeallocOrderFollowsEachClass) {
    {
        HostObject<MessageRuleCategory> rule(rule_);
        MessageRuleCategory::extraIVars(&rule).set("lumettaActions", Array{});
        HostObject<MessageTilingViewCategory> tiling(tiling_);
        MessageTilingViewCategory::extraIVars(&tiling).set("panel", true);
    }
    EXPECT_EQ(deallocTrace, (std::vector<std::string>{"MessageTilingView: host dealloc, entry gone",
                                                      "MessageRule: host dealloc, entry present"}));
    EXPECT_EQ(MessageRuleCategory::entryCount(), 0u);
    EXPECT_EQ(MessageTilingViewCategory::entryCount(), 0u);
}

TEST_F(AttachedStateCategoryTest, ObjectsNeverAskedLeaveNoEntry) {
    { HostObject<MessageRuleCategory> quiet(rule_); }
    EXPECT_EQ(MessageRuleCategory::entryCount(), 0u);
    EXPECT_EQ(deallocTrace.size(), 1u); // the host's dealloc still ran
}

// A content controller's observers go with it.
TEST_F(AttachedStateCategoryTest, ContentControllerDropsItsObservers) {
    int calls = 0;
    {
        HostObject<MessageContentControllerCategory> controller(content_);
        MessageContentControllerCategory::extraIVars(&controller).set("tagPanelShown", true);
        NotificationCenter::defaultCenter().addObserver(
            "LURulesWereApplied", nullptr, [&](const Notification&) { ++calls; }, &controller);
        NotificationCenter::defaultCenter().post("LURulesWereApplied");
    }
    NotificationCenter::defaultCenter().post("LURulesWereApplied");
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(MessageContentControllerCategory::entryCount(), 0u);
}

// A class the host lacks gets no methods and its slot stays empty.
TEST_F(AttachedStateCategoryTest, MissingHostClassesAreLeftAlone) {
    EXPECT_EQ(Runtime::classNamed("CriteriaUIHelper"), nullptr);
    EXPECT_EQ(rule_->instanceMethod("lumettaDealloc") != nullptr, true);
    // The table itself exists, so accessors still work for objects of a later class.
    int fake = 0;
    CriteriaUIHelperCategory::extraIVars(&fake).set("x", 1);
    EXPECT_EQ(CriteriaUIHelperCategory::entryCount(), 1u);
}

} // namespace
